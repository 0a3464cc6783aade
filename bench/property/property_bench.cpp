// SPDX-License-Identifier: MIT
// Property tree at scale: a tree of 10^6 leaves (1000 containers x 1000 leaves) is
// built, destroyed, cloned, walked by absolute path and asked for full paths; a
// chain 100,000 containers deep is cloned, notified and destroyed.

#include <orrery/property.h>

#include <benchmark/benchmark.h>

#include <QString>
#include <QVector>

#include <memory>

using namespace Orrery;

namespace {

constexpr int kContainers = 1000;
constexpr int kLeaves = 1000;
constexpr int kChainDepth = 100000;

QString containerName(int i) {
    return QString(QLatin1Char('c') + QString::number(i));
}

QString leafName(int j) {
    return QString(QLatin1Char('l') + QString::number(j));
}

PropertyObject* buildTree() {
    auto* root = new PropertyObject(QStringLiteral("root"));
    for (int i = 0; i < kContainers; ++i) {
        auto* container = new PropertyObject(containerName(i));
        root->InsertProperty(container);
        for (int j = 0; j < kLeaves; ++j) {
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

// One tree shared by the read-only benchmarks.
PropertyObject& sharedTree() {
    static std::unique_ptr<PropertyObject> tree(buildTree());
    return *tree;
}

void BM_BuildTree(benchmark::State& state) {
    for (auto _ : state) {
        PropertyObject* root = buildTree();
        benchmark::DoNotOptimize(root);
        state.PauseTiming();
        delete root;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kContainers * (kLeaves + 1));
}
BENCHMARK(BM_BuildTree)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_DestroyTree(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        PropertyObject* root = buildTree();
        state.ResumeTiming();
        delete root;
    }
    state.SetItemsProcessed(state.iterations() * kContainers * (kLeaves + 1));
}
BENCHMARK(BM_DestroyTree)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_ResolveAbsolutePaths(benchmark::State& state) {
    PropertyObject& root = sharedTree();
    QVector<QString> paths;
    paths.reserve(kContainers * kLeaves);
    for (int i = 0; i < kContainers; ++i) {
        for (int j = 0; j < kLeaves; ++j) {
            paths.append(QString(QLatin1Char('/') + containerName(i) + QLatin1Char('/') +
                                 leafName((j * 7919 + i) % kLeaves)));
        }
    }
    for (auto _ : state) {
        int found = 0;
        for (const QString& path : paths) {
            found += root.ResolvePath(path) != nullptr ? 1 : 0;
        }
        if (found != kContainers * kLeaves) {
            state.SkipWithError("a path did not resolve");
        }
    }
    state.SetItemsProcessed(state.iterations() * paths.size());
}
BENCHMARK(BM_ResolveAbsolutePaths)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_FullPaths(benchmark::State& state) {
    PropertyObject& root = sharedTree();
    QList<AbstractProperty*> containers;
    root.GetPropertyList(&containers);
    QVector<AbstractProperty*> leaves;
    leaves.reserve(kContainers * kLeaves);
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
BENCHMARK(BM_FullPaths)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_CloneTree(benchmark::State& state) {
    PropertyObject& root = sharedTree();
    for (auto _ : state) {
        AbstractProperty* copy = root.Clone();
        benchmark::DoNotOptimize(copy);
        state.PauseTiming();
        delete copy;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kContainers * (kLeaves + 1));
}
BENCHMARK(BM_CloneTree)->Unit(benchmark::kMillisecond)->Iterations(3);

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
