// SPDX-License-Identifier: MIT
// The property-tree workloads done with Boost.PropertyTree (ptree with '/' paths),
// on the same shape: 1000 containers x 1000 leaves, the same names and paths.

#include <benchmark/benchmark.h>
#include <boost/property_tree/ptree.hpp>

#include <memory>
#include <string>
#include <vector>

namespace {

using boost::property_tree::ptree;

constexpr int kContainers = 1000;
constexpr int kLeaves = 1000;

ptree* buildPtree() {
    auto* root = new ptree;
    for (int i = 0; i < kContainers; ++i) {
        ptree container;
        for (int j = 0; j < kLeaves; ++j) {
            container.push_back(ptree::value_type("l" + std::to_string(j), ptree()));
        }
        root->push_back(ptree::value_type("c" + std::to_string(i), std::move(container)));
    }
    return root;
}

ptree& sharedPtree() {
    static std::unique_ptr<ptree> tree(buildPtree());
    return *tree;
}

void BM_Ptree_BuildTree(benchmark::State& state) {
    for (auto _ : state) {
        ptree* root = buildPtree();
        benchmark::DoNotOptimize(root);
        state.PauseTiming();
        delete root;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kContainers * (kLeaves + 1));
}
BENCHMARK(BM_Ptree_BuildTree)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_Ptree_DestroyTree(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        ptree* root = buildPtree();
        state.ResumeTiming();
        delete root;
    }
    state.SetItemsProcessed(state.iterations() * kContainers * (kLeaves + 1));
}
BENCHMARK(BM_Ptree_DestroyTree)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_Ptree_ResolveAbsolutePaths(benchmark::State& state) {
    ptree& root = sharedPtree();
    std::vector<std::string> paths;
    paths.reserve(kContainers * kLeaves);
    for (int i = 0; i < kContainers; ++i) {
        for (int j = 0; j < kLeaves; ++j) {
            // ptree paths have no leading delimiter; they always start at the tree given.
            paths.push_back("c" + std::to_string(i) + "/l" +
                            std::to_string((j * 7919 + i) % kLeaves));
        }
    }
    for (auto _ : state) {
        int found = 0;
        for (const std::string& path : paths) {
            found += root.get_child_optional(ptree::path_type(path, '/')) ? 1 : 0;
        }
        if (found != kContainers * kLeaves) {
            state.SkipWithError("a path did not resolve");
        }
    }
    state.SetItemsProcessed(state.iterations() * paths.size());
}
BENCHMARK(BM_Ptree_ResolveAbsolutePaths)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_Ptree_CloneTree(benchmark::State& state) {
    ptree& root = sharedPtree();
    for (auto _ : state) {
        auto* copy = new ptree(root);
        benchmark::DoNotOptimize(copy);
        state.PauseTiming();
        delete copy;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kContainers * (kLeaves + 1));
}
BENCHMARK(BM_Ptree_CloneTree)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
