#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds every benchmark (Release), runs them all once, measures the peak memory of XML
# reads (xml_bench --peak-memory, each read in a process of its own) and writes
# bench/results.md. Peers are benchmark-only dependencies from Debian packages.
#   (no option)  the Qt 5.15 build, in build-bench/
#   --qt6        the Qt 6 build, in build-bench-qt6/
#   --both       both, one after the other
# The report holds every run whose results are in those build folders, each headed by the
# Qt it ran on, and a table of the two side by side.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

majors=(5)
while [ $# -gt 0 ]; do
    case "$1" in
        --qt6) majors=(6) ;;
        --both) majors=(5 6) ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

"$root/scripts/install-deps.sh" libbenchmark-dev libpugixml-dev libboost-dev python3
. "$root/scripts/compiler-cache.sh"

build_dir_of() {
    if [ "$1" = 6 ]; then echo "$root/build-bench-qt6"; else echo "$root/build-bench"; fi
}

for major in "${majors[@]}"; do
    if [ "$major" = 6 ]; then
        "$root/scripts/install-deps.sh" qt6-base-dev qt6-5compat-dev
    fi
    build_dir=$(build_dir_of "$major")
    cmake -S "$root" -B "$build_dir" -G Ninja "${orrery_launcher[@]}" -DCMAKE_BUILD_TYPE=Release \
        -DORRERY_QT_MAJOR_VERSION="$major" \
        -DORRERY_BUILD_BENCHMARKS=ON -DORRERY_BUILD_TESTS=OFF \
        -DORRERY_BUILD_EXAMPLES=OFF -DORRERY_BUILD_TOOLS=OFF
    cmake --build "$build_dir" -j "$(nproc)"

    results="$build_dir/results"
    rm -rf "$results"
    mkdir -p "$results"
    echo "Qt $(pkg-config --modversion "Qt${major}Core")" > "$results/qt.txt"
    for exe in "$build_dir"/bench/*/*_bench; do
        name=$(basename "$exe")
        echo "== $name (Qt $major)" >&2
        # Three runs of each benchmark, one after the other; the report takes the median.
        "$exe" --benchmark_repetitions=3 --benchmark_out="$results/$name.json" \
            --benchmark_out_format=json >&2
    done

    # Peak resident set of reading a 2, 20 and 200 MB document with each reader, one JSON
    # line per read. A failed read (out of memory, say) is recorded as such and the run goes on.
    xml_bench="$build_dir/bench/datafile/xml_bench"
    for size in 2 20 200; do
        for reader in xmlelement qdom pugixml raw; do
            echo "== xml_bench --peak-memory $reader $size (Qt $major)" >&2
            "$xml_bench" --peak-memory "$reader" "$size" >> "$results/xml_peak_memory.jsonl" ||
                echo "   the read failed" >&2
        done
    done
done

runs=()
for major in 5 6; do
    results="$(build_dir_of "$major")/results"
    [ -f "$results/qt.txt" ] && runs+=("$results")
done
python3 "$root/bench/make_report.py" "${runs[@]}" > "$root/bench/results.md"
echo "wrote bench/results.md (${#runs[@]} run(s))" >&2
