#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs the Windows platform tests from <tmp>\inst\bin\, with KORVANE_DIR and
# VEXIL_INSTALLATION_DIR naming other directories, so that the installation directory
# is seen to follow the executable and nothing else.
#   run_from_installation_tree.sh <wine> <windows_platform_tests.exe>
set -eu
wine=$1
program=$2

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
tmp=$(cd "$tmp" && pwd -P)

mkdir -p "$tmp/inst/bin" "$tmp/other"
cp "$program" "$tmp/inst/bin/platform_tests.exe"
# The DLLs the program needs (the C++ runtime) go with it.
cp "$(dirname "$program")"/*.dll "$tmp/inst/bin/"
# Wine reaches the Unix root as drive Z:.
expected="Z:$(printf '%s' "$tmp/inst" | tr '/' '\\')"
other="Z:$(printf '%s' "$tmp/other" | tr '/' '\\')"
out="$tmp/out.txt"
status=0
if ! ORRERY_EXPECTED_INSTALLATION="$expected" KORVANE_DIR="$other" \
    VEXIL_INSTALLATION_DIR="$other" "$wine" "$tmp/inst/bin/platform_tests.exe" \
    --gtest_filter='WindowsInstallationTree.*' >"$out" 2>&1; then
    status=1
fi
tr -d '\r' <"$out"
if grep -q 'SKIPPED' "$out" || ! grep -q 'PASSED' "$out"; then
    echo "the installation-tree test did not run" >&2
    status=1
fi
exit $status
