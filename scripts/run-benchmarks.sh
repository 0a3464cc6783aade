#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds every benchmark (Release), runs them all once and writes bench/results.md.
# Peers are benchmark-only dependencies from Debian packages.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir="$root/build-bench"

"$root/scripts/install-deps.sh" libbenchmark-dev libpugixml-dev libboost-dev python3

cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DORRERY_BUILD_BENCHMARKS=ON -DORRERY_BUILD_TESTS=OFF \
    -DORRERY_BUILD_EXAMPLES=OFF -DORRERY_BUILD_TOOLS=OFF
cmake --build "$build_dir" -j "$(nproc)"

results="$build_dir/results"
rm -rf "$results"
mkdir -p "$results"
for exe in "$build_dir"/bench/*/*_bench; do
    name=$(basename "$exe")
    echo "== $name" >&2
    "$exe" --benchmark_out="$results/$name.json" --benchmark_out_format=json >&2
done
python3 "$root/bench/make_report.py" "$results" > "$root/bench/results.md"
echo "wrote bench/results.md" >&2
