#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fails when a C++ source or header differs from what the project's .clang-format gives.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
"$root/scripts/install-deps.sh" clang-format
git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
echo "formatting: no differences"
