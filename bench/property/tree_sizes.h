// SPDX-License-Identifier: MIT
// The tree sizes shared by the property benchmarks and their Boost.PropertyTree peer:
// 10^4, 10^5 and 10^6 leaves, each benchmark registered once per size.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>

namespace TreeSizes {

// Leaves per tree. The benchmark argument is the leaf count.
constexpr std::int64_t kSizes[] = {10000, 100000, 1000000};
// Paths resolved per iteration at every size; the paths of a smaller tree are cycled.
constexpr std::int64_t kLookups = 1000000;

struct Shape {
    int containers;
    int leaves;  // per container
};

// 100 x 100, 1000 x 100 and 1000 x 1000.
inline Shape shapeOf(std::int64_t leaves) {
    const int containers = leaves >= 100000 ? 1000 : 100;
    return {containers, static_cast<int>(leaves / containers)};
}

// Nodes of a tree: its containers and their leaves (the root left out).
inline std::int64_t nodesOf(std::int64_t leaves) {
    return shapeOf(leaves).containers + leaves;
}

enum class Work {
    PerNode,  // one iteration handles every node: fewer iterations for larger trees
    Fixed,    // one iteration does kLookups lookups whatever the size
};

// Registers `function` once per size. Per-node work runs 3 * 10^6 leaves' worth of
// iterations at every size (3 at 10^6, 30 at 10^5, 300 at 10^4), fixed work 3 iterations.
inline int registerPerSize(const char* name, void (*function)(benchmark::State&), Work work) {
    for (const std::int64_t leaves : kSizes) {
        const std::int64_t iterations = work == Work::PerNode ? 3 * kSizes[2] / leaves : 3;
        benchmark::RegisterBenchmark(name, function)
            ->Arg(leaves)
            ->Unit(benchmark::kMillisecond)
            ->Iterations(iterations);
    }
    return 0;
}

}  // namespace TreeSizes
