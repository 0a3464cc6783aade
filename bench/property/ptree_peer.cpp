// SPDX-License-Identifier: MIT
// The property-tree workloads done with Boost.PropertyTree (ptree with '/' paths), on
// the same shapes (10^4, 10^5 and 10^6 leaves), the same names and paths.

#include "tree_sizes.h"

#include <benchmark/benchmark.h>
#include <boost/property_tree/ptree.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using boost::property_tree::ptree;
using TreeSizes::nodesOf;
using TreeSizes::Shape;
using TreeSizes::shapeOf;

ptree* buildPtree(std::int64_t leaves) {
    const Shape shape = shapeOf(leaves);
    auto* root = new ptree;
    for (int i = 0; i < shape.containers; ++i) {
        ptree container;
        for (int j = 0; j < shape.leaves; ++j) {
            container.push_back(ptree::value_type("l" + std::to_string(j), ptree()));
        }
        root->push_back(ptree::value_type("c" + std::to_string(i), std::move(container)));
    }
    return root;
}

ptree& sharedPtree(std::int64_t leaves) {
    static std::map<std::int64_t, std::unique_ptr<ptree>> trees;
    std::unique_ptr<ptree>& tree = trees[leaves];
    if (!tree) {
        tree.reset(buildPtree(leaves));
    }
    return *tree;
}

void BM_Ptree_BuildTree(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    for (auto _ : state) {
        ptree* root = buildPtree(leaves);
        benchmark::DoNotOptimize(root);
        state.PauseTiming();
        delete root;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * nodesOf(leaves));
}

void BM_Ptree_DestroyTree(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    for (auto _ : state) {
        state.PauseTiming();
        ptree* root = buildPtree(leaves);
        state.ResumeTiming();
        delete root;
    }
    state.SetItemsProcessed(state.iterations() * nodesOf(leaves));
}

void BM_Ptree_ResolveAbsolutePaths(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    const Shape shape = shapeOf(leaves);
    ptree& root = sharedPtree(leaves);
    std::vector<std::string> paths;
    paths.reserve(static_cast<std::size_t>(leaves));
    for (int i = 0; i < shape.containers; ++i) {
        for (int j = 0; j < shape.leaves; ++j) {
            // ptree paths have no leading delimiter; they always start at the tree given.
            paths.push_back("c" + std::to_string(i) + "/l" +
                            std::to_string((j * 7919 + i) % shape.leaves));
        }
    }
    const std::int64_t rounds = TreeSizes::kLookups / leaves;
    for (auto _ : state) {
        std::int64_t found = 0;
        for (std::int64_t round = 0; round < rounds; ++round) {
            for (const std::string& path : paths) {
                found += root.get_child_optional(ptree::path_type(path, '/')) ? 1 : 0;
            }
        }
        if (found != TreeSizes::kLookups) {
            state.SkipWithError("a path did not resolve");
        }
    }
    state.SetItemsProcessed(state.iterations() * TreeSizes::kLookups);
}

void BM_Ptree_CloneTree(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    ptree& root = sharedPtree(leaves);
    for (auto _ : state) {
        auto* copy = new ptree(root);
        benchmark::DoNotOptimize(copy);
        state.PauseTiming();
        delete copy;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * nodesOf(leaves));
}

void BM_Ptree_DestroyClone(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    ptree& root = sharedPtree(leaves);
    for (auto _ : state) {
        state.PauseTiming();
        auto* copy = new ptree(root);
        state.ResumeTiming();
        delete copy;
    }
    state.SetItemsProcessed(state.iterations() * nodesOf(leaves));
}

using TreeSizes::registerPerSize;
using TreeSizes::Work;
[[maybe_unused]] const int registered =
    registerPerSize("BM_Ptree_BuildTree", BM_Ptree_BuildTree, Work::PerNode) +
    registerPerSize("BM_Ptree_DestroyTree", BM_Ptree_DestroyTree, Work::PerNode) +
    registerPerSize("BM_Ptree_ResolveAbsolutePaths", BM_Ptree_ResolveAbsolutePaths, Work::Fixed) +
    registerPerSize("BM_Ptree_CloneTree", BM_Ptree_CloneTree, Work::PerNode) +
    registerPerSize("BM_Ptree_DestroyClone", BM_Ptree_DestroyClone, Work::PerNode);

}  // namespace
