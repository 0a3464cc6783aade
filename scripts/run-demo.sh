#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds OrreryCore and the orrery tool, and runs `orrery demo`: the typical client
# run on the example data. Extra arguments go to the demo (try --help).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir="$root/build"

"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build_dir" -j "$(nproc)" --target orrery >/dev/null
"$build_dir/tools/orrery" demo "$@"
