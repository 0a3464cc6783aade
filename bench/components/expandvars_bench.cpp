// SPDX-License-Identifier: MIT
// Growth of ExpandVars with the number of references in a text of fixed size (1 MB), and
// the same text without references, the baseline of the cost per reference.
#include <orrery/components.h>

#include "expandvars_reference.h"

#include <benchmark/benchmark.h>

#include <QString>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

constexpr int kTextSize = 1 << 20;

void setVariables() {
    static bool done = false;
    if (done) {
        return;
    }
    // Half of the 1,000 names are set, the other half expand to nothing.
    for (int i = 0; i < 1000; i += 2) {
        const std::string name = "V" + std::to_string(i);
        const std::string value = "/opt/tolmarsk/component-" + std::to_string(i);
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    ::unsetenv("VEXIL_REGISTRY_FILE");
    done = true;
}

// A text of 1 MB (kTextSize characters) holding `references` references in all seven
// forms, to `distinct` different variables, spread evenly through plain filler text.
// With no references it is the filler alone, the baseline of the cost per reference.
QString makeText(int references, int distinct) {
    static const char* const forms[] = {"%%V%1%%", "%%V%1",  "$V%1",   "$(V%1)",
                                        "%%(V%1)", "${V%1}", "%%{V%1}"};
    QString text;
    text.reserve(kTextSize + 64);
    const int pieces = std::max(references, 1);
    const int gap = kTextSize / pieces;
    for (int i = 0; i < pieces; ++i) {
        QString reference;
        if (i < references) {
            reference = QString::fromLatin1(forms[i % 7]).arg(i % distinct);
            reference.replace(QStringLiteral("%%"), QStringLiteral("%"));
        }
        text += reference;
        // The filler keeps the text at its size and is no name character.
        const int filler = std::max(1, gap - static_cast<int>(reference.size()));
        text += QString(filler - 1, QLatin1Char('.'));
        text += QLatin1Char('/');
    }
    // Every text has the same length, so that only the references differ from the filler.
    if (text.size() < kTextSize) {
        text += QString(kTextSize - static_cast<int>(text.size()), QLatin1Char('.'));
    }
    return text;
}

// The filler text without any reference: T(0) in the cost per reference (T(n) - T(0)) / n.
void BM_ExpandVarsNoReferences(benchmark::State& state) {
    setVariables();
    const QString text = makeText(0, 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Orrery::ExpandVars(text));
    }
    state.counters["text_chars"] = text.size();
}
BENCHMARK(BM_ExpandVarsNoReferences)->Unit(benchmark::kMillisecond);

void BM_ExpandVars(benchmark::State& state) {
    setVariables();
    const QString text = makeText(static_cast<int>(state.range(0)), 1000);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Orrery::ExpandVars(text));
    }
    state.SetComplexityN(state.range(0));
    state.counters["text_chars"] = text.size();
}
BENCHMARK(BM_ExpandVars)
    ->Arg(1000)
    ->Arg(3000)
    ->Arg(10000)
    ->Arg(30000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// References to 100 variables (V0 to V99, half of them set), so each name recurs often.
void BM_ExpandVarsHundredNames(benchmark::State& state) {
    setVariables();
    const QString text = makeText(static_cast<int>(state.range(0)), 100);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Orrery::ExpandVars(text));
    }
    state.SetComplexityN(state.range(0));
    state.counters["text_chars"] = text.size();
}
BENCHMARK(BM_ExpandVarsHundredNames)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// Every reference names its own variable (none of them set).
void BM_ExpandVarsDistinctNames(benchmark::State& state) {
    setVariables();
    const int references = static_cast<int>(state.range(0));
    const QString text = makeText(references, references);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Orrery::ExpandVars(text));
    }
    state.SetComplexityN(state.range(0));
    state.counters["text_chars"] = text.size();
}
BENCHMARK(BM_ExpandVarsDistinctNames)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// The step-by-step definition done literally, for comparison (replace-all on the whole
// string at every step); only the small sizes, it grows with the square.
void BM_ExpandVarsLiteral(benchmark::State& state) {
    setVariables();
    const QString text = makeText(static_cast<int>(state.range(0)), 1000);
    for (auto _ : state) {
        benchmark::DoNotOptimize(OrreryTest::literalExpandVars(text, 1 << 30, 1 << 30));
    }
}
BENCHMARK(BM_ExpandVarsLiteral)->Arg(1000)->Arg(3000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
