#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs the Windows platform tests from directories whose names are longer than
# MAX_PATH (260 UTF-16 units), with non-ASCII and non-BMP characters in them, so that
# the executable's path is read through the growing buffer. Wine cannot start a
# program from such a directory from inside, so this runs it from outside.
#   run_from_long_directory.sh <wine> <windows_platform_tests.exe>
set -eu
wine=$1
program=$2

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
tmp=$(cd "$tmp" && pwd -P)

# 110 UTF-16 units each: 'é' and '中' are one unit, '𝄞' two.
component="long-$(printf '%0100d' 0)-é中𝄞"

status=0
for depth in 3 10; do
    dir="$tmp/run$depth"
    i=0
    while [ $i -lt $depth ]; do
        dir="$dir/$component"
        i=$((i + 1))
    done
    mkdir -p "$dir"
    cp "$program" "$dir/platform tests.exe"
    # The DLLs the program needs (Qt's C++ runtime) go with it.
    cp "$(dirname "$program")"/*.dll "$dir/"
    # Wine reaches the Unix root as drive Z:.
    expected="Z:$(printf '%s' "$dir/platform tests.exe" | tr '/' '\\')"
    echo "== depth $depth: $(printf '%s' "$expected" | wc -m) characters"
    out="$tmp/out$depth.txt"
    if ! ORRERY_EXPECTED_EXECUTABLE="$expected" "$wine" "$dir/platform tests.exe" \
        --gtest_filter='WindowsLongExecutablePath.*:WindowsExecutablePath.*' >"$out" 2>&1; then
        status=1
    fi
    tr -d '\r' <"$out"
    if grep -q 'SKIPPED' "$out" || ! grep -q 'PASSED' "$out"; then
        echo "the long-directory test did not run" >&2
        status=1
    fi
done
exit $status
