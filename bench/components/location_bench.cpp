// SPDX-License-Identifier: MIT
// QueryReferredComponentLocation over a referred-component file with 10,000 versions.
#include <orrery/components.h>

#include <benchmark/benchmark.h>

#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <cstdlib>

namespace {

class Store {
public:
    explicit Store(int versions) {
        ::unsetenv("VEXIL_REFERRED_COMPONENT_FILE");
        ::unsetenv("VEXIL_CR_UNQUOTE_STRATEGY_ENUM");
        QFile file(QString(dir_.path() + QStringLiteral("/ComponentRefs.ini")));
        file.open(QIODevice::WriteOnly);
        QByteArray text = "[Models]\n";
        for (int i = 0; i < versions; ++i) {
            const QByteArray version =
                QByteArray::number(i / 100) + '.' + QByteArray::number(i % 100);
            text += version + "\\Location=/opt/models/" + version + '\n';
            text += version + "\\RefCount=1\n";
        }
        file.write(text);
    }
    QString root() const { return dir_.path(); }

private:
    QTemporaryDir dir_;
};

void BM_QueryHighestVersion(benchmark::State& state) {
    const Store store(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Orrery::QueryReferredComponentLocation(
            store.root(), QStringLiteral("Models"), QString(), false));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_QueryHighestVersion)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

void BM_QueryGivenVersion(benchmark::State& state) {
    const Store store(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Orrery::QueryReferredComponentLocation(
            store.root(), QStringLiteral("Models"), QStringLiteral("42.42"), false));
    }
}
BENCHMARK(BM_QueryGivenVersion)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
