// SPDX-License-Identifier: MIT
// Property tree at scale: trees of 10^4, 10^5 and 10^6 leaves (100 x 100, 1000 x 100 and
// 1000 x 1000) are built, destroyed, cloned, walked by absolute path (10^6 paths at every
// size) and asked for full paths, and a clone is destroyed; a chain 100,000 containers
// deep is cloned, notified and destroyed.

#include "tree_sizes.h"

#include <orrery/property.h>

#include <benchmark/benchmark.h>

#include <QPair>
#include <QString>
#include <QVector>

#include <map>
#include <memory>

using namespace Orrery;

namespace {

using TreeSizes::nodesOf;
using TreeSizes::Shape;
using TreeSizes::shapeOf;

constexpr int kChainDepth = 100000;

QString containerName(int i) {
    return QString(QLatin1Char('c') + QString::number(i));
}

QString leafName(int j) {
    return QString(QLatin1Char('l') + QString::number(j));
}

PropertyObject* buildTree(std::int64_t leaves) {
    const Shape shape = shapeOf(leaves);
    auto* root = new PropertyObject(QStringLiteral("root"));
    for (int i = 0; i < shape.containers; ++i) {
        auto* container = new PropertyObject(containerName(i));
        root->InsertProperty(container);
        for (int j = 0; j < shape.leaves; ++j) {
            container->InsertProperty(new SimpleProperty(leafName(j)));
        }
    }
    return root;
}

PropertyObject* buildChain() {
    auto* root = new PropertyObject(QStringLiteral("root"));
    PropertyObject* node = root;
    for (int level = 1; level < kChainDepth; ++level) {
        auto* child = new PropertyObject(containerName(level));
        node->InsertProperty(child);
        node = child;
    }
    return root;
}

// One tree per size, shared by the benchmarks that leave it unchanged.
PropertyObject& sharedTree(std::int64_t leaves) {
    static std::map<std::int64_t, std::unique_ptr<PropertyObject>> trees;
    std::unique_ptr<PropertyObject>& tree = trees[leaves];
    if (!tree) {
        tree.reset(buildTree(leaves));
    }
    return *tree;
}

void BM_BuildTree(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    for (auto _ : state) {
        PropertyObject* root = buildTree(leaves);
        benchmark::DoNotOptimize(root);
        state.PauseTiming();
        delete root;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * nodesOf(leaves));
}

void BM_DestroyTree(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    for (auto _ : state) {
        state.PauseTiming();
        PropertyObject* root = buildTree(leaves);
        state.ResumeTiming();
        delete root;
    }
    state.SetItemsProcessed(state.iterations() * nodesOf(leaves));
}

// The container and leaf name of every leaf of a tree of `leaves` leaves, in a scattered
// order.
QVector<QPair<QString, QString>> scatteredLeafNames(std::int64_t leaves) {
    const Shape shape = shapeOf(leaves);
    QVector<QPair<QString, QString>> names;
    names.reserve(static_cast<int>(leaves));
    for (int i = 0; i < shape.containers; ++i) {
        for (int j = 0; j < shape.leaves; ++j) {
            names.append(qMakePair(containerName(i), leafName((j * 7919 + i) % shape.leaves)));
        }
    }
    return names;
}

// 10^6 lookups at every size: the tree's paths in a scattered order, cycled as needed.
void BM_ResolveAbsolutePaths(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    PropertyObject& root = sharedTree(leaves);
    QVector<QString> paths;
    paths.reserve(static_cast<int>(leaves));
    for (const auto& pair : scatteredLeafNames(leaves)) {
        paths.append(QString(QLatin1Char('/') + pair.first + QLatin1Char('/') + pair.second));
    }
    const std::int64_t rounds = TreeSizes::kLookups / leaves;
    for (auto _ : state) {
        std::int64_t found = 0;
        for (std::int64_t round = 0; round < rounds; ++round) {
            for (const QString& path : paths) {
                found += root.ResolvePath(path) != nullptr ? 1 : 0;
            }
        }
        if (found != TreeSizes::kLookups) {
            state.SkipWithError("a path did not resolve");
        }
    }
    state.SetItemsProcessed(state.iterations() * TreeSizes::kLookups);
}

// The part of each lookup above that the children's QMap fixes: the same 10^6 scattered
// lookups as two GetPropertyConstPtr() calls with the names already split, so no path is
// parsed. What ResolvePath() costs beyond this is its own.
void BM_ResolveMapSearchOnly(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    const PropertyObject& root = sharedTree(leaves);
    const QVector<QPair<QString, QString>> names = scatteredLeafNames(leaves);
    const std::int64_t rounds = TreeSizes::kLookups / leaves;
    for (auto _ : state) {
        std::int64_t found = 0;
        for (std::int64_t round = 0; round < rounds; ++round) {
            for (const auto& pair : names) {
                const auto* container =
                    static_cast<const PropertyObject*>(root.GetPropertyConstPtr(pair.first));
                found += container->GetPropertyConstPtr(pair.second) != nullptr ? 1 : 0;
            }
        }
        if (found != TreeSizes::kLookups) {
            state.SkipWithError("a name was not found");
        }
    }
    state.SetItemsProcessed(state.iterations() * TreeSizes::kLookups);
}

void BM_FullPaths(benchmark::State& state) {
    PropertyObject& root = sharedTree(state.range(0));
    QList<AbstractProperty*> containers;
    root.GetPropertyList(&containers);
    QVector<AbstractProperty*> leaves;
    leaves.reserve(static_cast<int>(state.range(0)));
    for (AbstractProperty* container : containers) {
        QList<AbstractProperty*> children;
        static_cast<PropertyObject*>(container)->GetPropertyList(&children);
        for (AbstractProperty* leaf : children) {
            leaves.append(leaf);
        }
    }
    for (auto _ : state) {
        qsizetype characters = 0;
        for (AbstractProperty* leaf : leaves) {
            characters += leaf->GetFullPath().size();
        }
        benchmark::DoNotOptimize(characters);
    }
    state.SetItemsProcessed(state.iterations() * leaves.size());
}

void BM_CloneTree(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    PropertyObject& root = sharedTree(leaves);
    for (auto _ : state) {
        AbstractProperty* copy = root.Clone();
        benchmark::DoNotOptimize(copy);
        state.PauseTiming();
        delete copy;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * nodesOf(leaves));
}

// Destroying a clone rather than a tree built node by node: the clone's nodes were
// allocated in another order, which the allocator sees when they are freed.
void BM_DestroyClone(benchmark::State& state) {
    const std::int64_t leaves = state.range(0);
    PropertyObject& root = sharedTree(leaves);
    for (auto _ : state) {
        state.PauseTiming();
        AbstractProperty* copy = root.Clone();
        state.ResumeTiming();
        delete copy;
    }
    state.SetItemsProcessed(state.iterations() * nodesOf(leaves));
}

using TreeSizes::registerPerSize;
using TreeSizes::Work;
[[maybe_unused]] const int registered =
    registerPerSize("BM_BuildTree", BM_BuildTree, Work::PerNode) +
    registerPerSize("BM_DestroyTree", BM_DestroyTree, Work::PerNode) +
    registerPerSize("BM_ResolveAbsolutePaths", BM_ResolveAbsolutePaths, Work::Fixed) +
    registerPerSize("BM_ResolveMapSearchOnly", BM_ResolveMapSearchOnly, Work::Fixed) +
    registerPerSize("BM_FullPaths", BM_FullPaths, Work::PerNode) +
    registerPerSize("BM_CloneTree", BM_CloneTree, Work::PerNode) +
    registerPerSize("BM_DestroyClone", BM_DestroyClone, Work::PerNode);

void BM_DeepChainClone(benchmark::State& state) {
    std::unique_ptr<PropertyObject> chain(buildChain());
    for (auto _ : state) {
        AbstractProperty* copy = chain->Clone();
        benchmark::DoNotOptimize(copy);
        state.PauseTiming();
        delete copy;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kChainDepth);
}
BENCHMARK(BM_DeepChainClone)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_DeepChainRename(benchmark::State& state) {
    std::unique_ptr<PropertyObject> chain(buildChain());
    int round = 0;
    for (auto _ : state) {
        // Renaming the root tells every node below about the new path.
        chain->SetName(QString::number(++round));
    }
    state.SetItemsProcessed(state.iterations() * kChainDepth);
}
BENCHMARK(BM_DeepChainRename)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_DeepChainDestroy(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        PropertyObject* chain = buildChain();
        state.ResumeTiming();
        delete chain;
    }
    state.SetItemsProcessed(state.iterations() * kChainDepth);
}
BENCHMARK(BM_DeepChainDestroy)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
