#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs every unit-test executable and every fuzz corpus replay of a plain build (no
# sanitizers) under valgrind's memcheck. Fails when valgrind reports any memory error or
# a definite leak. scripts/valgrind.supp suppresses Qt's own one-time allocations only.
#   --build-dir D   use D instead of build/
#   --no-build      use the executables already built
#   --only REGEX    only the executables whose name matches REGEX
# A log per executable is left in <build-dir>/valgrind/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

build_dir="$root/build"
build=1
only=""
while [ $# -gt 0 ]; do
    case "$1" in
        --build-dir) build_dir=$2; shift ;;
        --no-build) build=0 ;;
        --only) only=$2; shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

if [ "$build" = 1 ]; then
    "$root/scripts/install-deps.sh" valgrind
    cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DORRERY_SANITIZE=OFF >/dev/null
    cmake --build "$build_dir" -j "$(nproc)"
fi

export QT_QPA_PLATFORM=offscreen
logs="$build_dir/valgrind"
mkdir -p "$logs"
memcheck=(valgrind --tool=memcheck --error-exitcode=1 --leak-check=full
    --errors-for-leak-kinds=definite --show-leak-kinds=definite
    --suppressions="$root/scripts/valgrind.supp" --num-callers=30)

# Three limit tests move hundreds of megabytes (a 100 MB text, a 200 MB written tree, a
# chain of a million containers); memcheck would spend minutes on them, and the
# sanitizer build runs them.
heavy='*HundredMegabyte*:*TenThousand*:*MillionDeep*'

failed=0
cd "$build_dir"
for exe in $(find tests fuzz -maxdepth 2 -type f -executable \
        \( -name '*_tests' -o -name '*_replay' \) 2>/dev/null | sort); do
    name=$(basename "$exe")
    if [ -n "$only" ] && ! [[ "$name" =~ $only ]]; then
        continue
    fi
    args=()
    case "$name" in
        *_replay) args=("$root/fuzz/${name%_replay}/corpus") ;;
        reliability_tests) args=(--gtest_filter="-$heavy") ;;
    esac
    start=$SECONDS
    # Tests look for their helper programs beside themselves.
    if (cd "$(dirname "$exe")" && "${memcheck[@]}" "./$name" "${args[@]}") \
        >"$logs/$name.log" 2>&1; then
        echo "$name: clean ($((SECONDS - start)) s)"
    else
        echo "$name: FAILED ($((SECONDS - start)) s); log $logs/$name.log"
        grep -E '^==[0-9]+== (ERROR SUMMARY|.*definitely lost)|^\[  FAILED' "$logs/$name.log" | head -20
        failed=1
    fi
done
exit "$failed"
