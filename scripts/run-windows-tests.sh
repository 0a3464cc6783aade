#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Cross-builds the Qt-free part of OrreryCore for Windows x86-64 (mingw-w64) with
# warnings as errors and runs its tests under Wine in a temporary prefix. Then checks
# that the textual file-name tests, built from the same sources, ran the same tests on
# Linux and under Wine and passed on both.
#   --build-dir D    use D instead of build-windows/
#   --linux-build D  the native build whose filename_tests to compare with (build/)
#   --no-compare     skip that comparison (no native build at hand)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

build_dir="$root/build-windows"
linux_build="$root/build"
compare=ON
while [ $# -gt 0 ]; do
    case "$1" in
        --build-dir) build_dir=$2; shift ;;
        --linux-build) linux_build=$2; shift ;;
        --no-compare) compare=OFF ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

"$root/scripts/install-deps.sh" g++-mingw-w64-x86-64-posix wine64

wine=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver
# Builds share one lock with other builds on the machine.
lock="${ORRERY_BUILD_LOCK:-/tmp/orrery-build.lock}"

echo "== cross-build for Windows"
flock "$lock" cmake -S "$root/windows" -B "$build_dir" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-mingw64.cmake" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DORRERY_WARNINGS_AS_ERRORS=ON >/dev/null
flock "$lock" cmake --build "$build_dir" -j "$(nproc)"

# A prefix of our own, removed afterwards; Wine reads arguments and the environment
# as UTF-8 under this locale.
scratch=$(mktemp -d)
export WINEPREFIX="$scratch/prefix"
export WINEDEBUG=-all
export LC_ALL=C.UTF-8
# No .NET or HTML engine is needed, and no prompt to install them.
export WINEDLLOVERRIDES="mscoree,mshtml="
cleanup() {
    # The server of this prefix ends by itself once its programs have ended.
    timeout 60 "$wineserver" -w || "$wineserver" -k || true
    rm -rf "$scratch"
}
trap cleanup EXIT

echo "== create the Wine prefix"
"$wine" wineboot --init >/dev/null 2>&1

echo "== tests under Wine"
ctest --test-dir "$build_dir" -j "$(nproc)" --output-on-failure

[ "$compare" = ON ] || exit 0

echo "== textual file-name tests: Linux against Wine"
linux_tests="$linux_build/tests/filename/filename_tests"
if [ ! -x "$linux_tests" ]; then
    echo "no native $linux_tests: run scripts/run-tests.sh first, or pass --no-compare" >&2
    exit 1
fi
# gtest's listing ("Suite." then "  Test  # GetParam() = ...") as one "Suite.Test" a line,
# sorted: the order of registration follows the link order, which may differ.
flatten() {
    tr -d '\r' | awk '/^[^ ]/ { suite = $1; next } /^  / { sub(/^  /, ""); print suite $0 }' |
        LC_ALL=C sort
}
"$wine" "$build_dir/bin/filename_textual_tests.exe" --gtest_list_tests | flatten >"$scratch/wine.txt"
filter=$(sed 's/\..*//' "$scratch/wine.txt" | sort -u | sed 's/$/.*/' | paste -sd:)
"$linux_tests" --gtest_list_tests --gtest_filter="$filter" | flatten >"$scratch/linux.txt"
if ! diff -u "$scratch/linux.txt" "$scratch/wine.txt"; then
    echo "the Linux and Windows builds do not run the same textual tests" >&2
    exit 1
fi
"$linux_tests" --gtest_filter="$filter" --gtest_brief=1
echo "$(wc -l <"$scratch/wine.txt") textual file-name tests pass on Linux and under Wine"
