#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds OrreryCore with its tests and runs the whole suite.
#   --werror     treat compiler warnings as errors
#   --sanitize   build and test with AddressSanitizer + UndefinedBehaviorSanitizer
#   --qt6        build against Qt 6 instead of Qt 5.15, into build-qt6/
#   --build-dir D  use D instead of build/ (build-asan/ with --sanitize)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

werror=OFF
sanitize=OFF
qt_major=5
build_dir=""
while [ $# -gt 0 ]; do
    case "$1" in
        --werror) werror=ON ;;
        --sanitize) sanitize=ON ;;
        --qt6) qt_major=6 ;;
        --build-dir) build_dir=$2; shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done
if [ -z "$build_dir" ]; then
    build_dir="$root/build"
    [ "$qt_major" = 6 ] && build_dir="$root/build-qt6"
    [ "$sanitize" = ON ] && build_dir="$build_dir-asan"
fi

if [ "$qt_major" = 6 ]; then
    "$root/scripts/install-deps.sh" qt6-base-dev qt6-5compat-dev
else
    "$root/scripts/install-deps.sh"
fi

. "$root/scripts/compiler-cache.sh"
cmake -S "$root" -B "$build_dir" -G Ninja "${orrery_launcher[@]}" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DORRERY_QT_MAJOR_VERSION="$qt_major" \
    -DORRERY_WARNINGS_AS_ERRORS="$werror" \
    -DORRERY_SANITIZE="$sanitize"
cmake --build "$build_dir" -j "$(nproc)"

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
export QT_QPA_PLATFORM=offscreen
ctest --test-dir "$build_dir" -j "$(nproc)" --output-on-failure
