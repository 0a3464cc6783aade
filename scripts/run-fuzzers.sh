#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the libFuzzer targets (clang, AddressSanitizer + UndefinedBehaviorSanitizer) and
# runs each of them for a fixed time. Fails when any target reports a crash, an invariant
# failure, a leak, a timeout or running out of memory; the input that did it is left in
# <build-dir>/findings/<target>/.
#   --seconds N      run time per target (default 60)
#   --targets "A B"  only these targets (default: every target in fuzz/)
#   --parallel N     run N targets at a time (default 1)
#   --build-dir D    use D instead of build-fuzz/
#   --build-only     build, do not run
#   --no-build       run the fuzzers already built
#   --update-corpus  afterwards, merge the inputs that add coverage into fuzz/<target>/corpus
# Each run starts from the committed corpus and writes what it finds to
# <build-dir>/corpus/<target>/, which later runs reuse; the committed corpus only changes
# with --update-corpus.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

seconds=60
targets=""
parallel=1
build_dir="$root/build-fuzz"
build=1
run=1
update=0
while [ $# -gt 0 ]; do
    case "$1" in
        --seconds) seconds=$2; shift ;;
        --targets) targets=$2; shift ;;
        --parallel) parallel=$2; shift ;;
        --build-dir) build_dir=$2; shift ;;
        --build-only) run=0 ;;
        --no-build) build=0 ;;
        --update-corpus) update=1 ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done
if [ -z "$targets" ]; then
    targets=$(sed -n '/^set(ORRERY_FUZZ_TARGETS/,/)/p' "$root/fuzz/CMakeLists.txt" |
        sed -e 's/set(ORRERY_FUZZ_TARGETS//' -e 's/)//' | xargs)
fi

if [ "$build" = 1 ]; then
    "$root/scripts/install-deps.sh" clang libclang-rt-14-dev
    . "$root/scripts/compiler-cache.sh"
    CC=clang CXX=clang++ cmake -S "$root" -B "$build_dir" -G Ninja "${orrery_launcher[@]}" \
        -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DORRERY_BUILD_FUZZERS=ON -DORRERY_SANITIZE=ON \
        -DORRERY_BUILD_TESTS=OFF -DORRERY_BUILD_TOOLS=ON -DORRERY_BUILD_EXAMPLES=OFF >/dev/null
    cmake --build "$build_dir" -j "$(nproc)" --target orrery_fuzzers
fi
[ "$run" = 1 ] || exit 0

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:allocator_may_return_null=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
export QT_QPA_PLATFORM=offscreen

# run_one <target>: one libFuzzer run; its log goes to <build-dir>/logs/<target>.log.
run_one() {
    local target=$1
    local seeds="$root/fuzz/$target/corpus"
    local work="$build_dir/corpus/$target"
    local findings="$build_dir/findings/$target"
    local dict=()
    mkdir -p "$work" "$findings" "$build_dir/logs"
    [ -f "$root/fuzz/$target/$target.dict" ] && dict=(-dict="$root/fuzz/$target/$target.dict")
    if "$build_dir/fuzz/${target}_fuzzer" "$work" "$seeds" "${dict[@]}" \
        -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
        -print_final_stats=1 -artifact_prefix="$findings/" \
        >"$build_dir/logs/$target.log" 2>&1; then
        echo "$target: $(grep -m1 -o 'stat::number_of_executed_units: *[0-9]*' \
            "$build_dir/logs/$target.log" | grep -o '[0-9]*$') runs in ${seconds}s, nothing found"
    else
        echo "$target: FOUND a problem; log $build_dir/logs/$target.log, input in $findings/"
        tail -n 40 "$build_dir/logs/$target.log"
        return 1
    fi
}

failed=0
pids=()
names=()
for target in $targets; do
    run_one "$target" &
    pids+=($!)
    names+=("$target")
    if [ "${#pids[@]}" -ge "$parallel" ]; then
        wait "${pids[0]}" || failed=1
        pids=("${pids[@]:1}")
        names=("${names[@]:1}")
    fi
done
for pid in "${pids[@]}"; do
    wait "$pid" || failed=1
done

if [ "$update" = 1 ]; then
    for target in $targets; do
        "$build_dir/fuzz/${target}_fuzzer" -merge=1 "$root/fuzz/$target/corpus" \
            "$build_dir/corpus/$target" >/dev/null 2>&1
        echo "$target: committed corpus has $(ls "$root/fuzz/$target/corpus" | wc -l) inputs"
    done
fi
exit "$failed"
