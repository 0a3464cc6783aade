#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds OrreryCore and runs the example client program.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir="$root/build"

"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build_dir" -j "$(nproc)" --target orrery_platform_tour >/dev/null
"$build_dir/examples/orrery_platform_tour" "$@"
