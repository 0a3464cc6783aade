// SPDX-License-Identifier: MIT
// Numbers with units: parse + normalise + format of a million mixed values, side by side
// with strtod + snprintf("%g") on the same texts (the floor of a double round trip), and
// RealString::asReal beside strtod alone and beside the C-library conversions its
// algorithm needs. Heap allocations per value are counted in an untimed
// pass through a counting operator new and, on glibc, counting malloc-family functions
// (Qt's strings allocate with malloc, not with operator new).
#include <orrery/units.h>

#include <benchmark/benchmark.h>

#include <QString>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

bool g_counting = false;
long long g_newCalls = 0;
long long g_mallocCalls = 0;

}  // namespace

#if defined(__GLIBC__)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* pointer, size_t size);
void __libc_free(void* pointer);

void* malloc(size_t size) {
    if (g_counting) {
        ++g_mallocCalls;
    }
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    if (g_counting) {
        ++g_mallocCalls;
    }
    return __libc_calloc(count, size);
}
void* realloc(void* pointer, size_t size) {
    if (g_counting) {
        ++g_mallocCalls;
    }
    return __libc_realloc(pointer, size);
}
void free(void* pointer) {
    __libc_free(pointer);
}
}
#endif

void* operator new(std::size_t size) {
    if (g_counting) {
        ++g_newCalls;
    }
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return ::operator new(size);
}
void operator delete(void* pointer) noexcept {
    std::free(pointer);
}
void operator delete[](void* pointer) noexcept {
    std::free(pointer);
}
void operator delete(void* pointer, std::size_t) noexcept {
    std::free(pointer);
}
void operator delete[](void* pointer, std::size_t) noexcept {
    std::free(pointer);
}

namespace {

using Orrery::RealString;
using Orrery::RealStringParser;

constexpr int kValues = 1000000;
constexpr int kCountedValues = 10000;

struct Texts {
    std::vector<QString> qt;
    std::vector<std::string> bytes;
    std::vector<double> factors;  // conversion factor of the units, for the conversions floor
};

std::string digits(std::mt19937& rng, int count, bool nonZeroFirst) {
    std::string out;
    for (int i = 0; i < count; ++i) {
        const int low = (i == 0 && nonZeroFirst) ? 1 : 0;
        out += static_cast<char>('0' + std::uniform_int_distribution<int>(low, 9)(rng));
    }
    return out;
}

// Values shaped like "4.7k", "-1.5e-3", "123.45e67" and "2.2u", with random digits.
const Texts& mixedValues() {
    static const Texts texts = [] {
        Texts t;
        std::mt19937 rng(20240605u);
        std::uniform_int_distribution<int> small(1, 3);
        for (int i = 0; i < kValues; ++i) {
            std::string text;
            switch (i % 4) {
                case 0:
                    text = digits(rng, small(rng), true) + "." + digits(rng, 1, false) + "k";
                    break;
                case 1:
                    text = "-" + digits(rng, 1, true) + "." + digits(rng, small(rng), false) +
                           "e-" + digits(rng, 1, true);
                    break;
                case 2:
                    text = digits(rng, 3, true) + "." + digits(rng, 2, false) + "e" +
                           digits(rng, 2, true);
                    break;
                default:
                    text = digits(rng, 1, true) + "." + digits(rng, 1, false) + "u";
                    break;
            }
            t.qt.push_back(QString::fromStdString(text));
            t.bytes.push_back(text);
        }
        return t;
    }();
    return texts;
}

// Typed "number and units" texts for asReal.
const Texts& valuesWithUnits() {
    static const Texts texts = [] {
        Texts t;
        static const char* const units[] = {" mil", " GHz", " pF", "k Ohm",
                                            " mi",  "%",    " dB", " nH"};
        static const double factors[] = {2.54e-5, 1.0, 1.0, 1.0, 1609.344, 0.01, 1.0, 1.0};
        std::mt19937 rng(20240606u);
        for (int i = 0; i < kValues; ++i) {
            const std::string number = digits(rng, 1 + i % 3, true) + "." + digits(rng, 1, false);
            const std::string text = number + units[i % 8];
            t.qt.push_back(QString::fromStdString(text));
            t.bytes.push_back(text);
            t.factors.push_back(factors[i % 8]);
        }
        return t;
    }();
    return texts;
}

template <typename Body>
void countAllocations(benchmark::State& state, int count, Body body) {
    g_newCalls = 0;
    g_mallocCalls = 0;
    g_counting = true;
    for (int i = 0; i < count; ++i) {
        body(i);
    }
    g_counting = false;
    state.counters["new_per_value"] = static_cast<double>(g_newCalls) / count;
    state.counters["malloc_per_value"] = static_cast<double>(g_mallocCalls) / count;
}

void parseNormaliseFormat(const QString& text) {
    const RealStringParser parser(text);
    QString shown = parser.value(RealStringParser::Engineering);
    benchmark::DoNotOptimize(shown);
}

void strtodSnprintf(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%g", value);
    benchmark::DoNotOptimize(buffer);
    benchmark::DoNotOptimize(end);
}

void BM_ParseNormaliseFormat(benchmark::State& state) {
    const Texts& texts = mixedValues();
    countAllocations(state, kCountedValues, [&](int i) { parseNormaliseFormat(texts.qt[i]); });
    for (auto _ : state) {
        for (const QString& text : texts.qt) {
            parseNormaliseFormat(text);
        }
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void BM_ParseOnly(benchmark::State& state) {
    const Texts& texts = mixedValues();
    countAllocations(state, kCountedValues, [&](int i) {
        RealStringParser parser(texts.qt[i]);
        benchmark::DoNotOptimize(parser);
    });
    for (auto _ : state) {
        for (const QString& text : texts.qt) {
            RealStringParser parser(text);
            benchmark::DoNotOptimize(parser);
        }
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void BM_StrtodSnprintfFloor(benchmark::State& state) {
    const Texts& texts = mixedValues();
    countAllocations(state, kCountedValues, [&](int i) { strtodSnprintf(texts.bytes[i]); });
    for (auto _ : state) {
        for (const std::string& text : texts.bytes) {
            strtodSnprintf(text);
        }
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void BM_AsReal(benchmark::State& state) {
    const Texts& texts = valuesWithUnits();
    countAllocations(state, kCountedValues, [&](int i) {
        bool ok = false;
        benchmark::DoNotOptimize(RealString::asReal(texts.qt[i], &ok));
    });
    for (auto _ : state) {
        for (const QString& text : texts.qt) {
            bool ok = false;
            benchmark::DoNotOptimize(RealString::asReal(text, &ok));
        }
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void BM_AsRealStrtodFloor(benchmark::State& state) {
    const Texts& texts = valuesWithUnits();
    for (auto _ : state) {
        for (const std::string& text : texts.bytes) {
            char* end = nullptr;
            benchmark::DoNotOptimize(std::strtod(text.c_str(), &end));
            benchmark::DoNotOptimize(end);
        }
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

// The decimal/binary conversions that asReal's algorithm needs, done with the C library:
// the number to a double, and the final text to a double; for units with a conversion
// factor also the product written with six digits and read back.
void BM_AsRealConversionsFloor(benchmark::State& state) {
    const Texts& texts = valuesWithUnits();
    for (auto _ : state) {
        for (size_t i = 0; i < texts.bytes.size(); ++i) {
            const char* text = texts.bytes[i].c_str();
            char* end = nullptr;
            double value = std::strtod(text, &end);
            if (texts.factors[i] != 1.0) {
                char buffer[32];
                std::snprintf(buffer, sizeof buffer, "%.6g", value * texts.factors[i]);
                value = std::strtod(buffer, &end);
                benchmark::DoNotOptimize(value);
                value = std::strtod(buffer, &end);
            } else {
                value = std::strtod(text, &end);
            }
            benchmark::DoNotOptimize(value);
            benchmark::DoNotOptimize(end);
        }
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

BENCHMARK(BM_ParseNormaliseFormat)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ParseOnly)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_StrtodSnprintfFloor)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_AsReal)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_AsRealStrtodFloor)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_AsRealConversionsFloor)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Prints the console report and then the ratios against the floors.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& reports) override {
        ConsoleReporter::ReportRuns(reports);
        for (const Run& run : reports) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                times_[run.run_name.function_name] = {run.GetAdjustedRealTime(),
                                                      run.GetAdjustedCPUTime()};
            }
        }
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        ratio("BM_ParseNormaliseFormat", "BM_StrtodSnprintfFloor", "(target: within 3x)");
        ratio("BM_ParseOnly", "BM_StrtodSnprintfFloor", "");
        ratio("BM_AsReal", "BM_AsRealStrtodFloor", "");
        ratio("BM_AsReal", "BM_AsRealConversionsFloor", "");
    }

private:
    void ratio(const std::string& ours, const std::string& floor, const char* note) {
        const auto a = times_.find(ours);
        const auto b = times_.find(floor);
        if (a != times_.end() && b != times_.end() && b->second.first > 0 && b->second.second > 0) {
            std::printf("ratio %s / %s: %.2f wall, %.2f cpu %s\n", ours.c_str(), floor.c_str(),
                        a->second.first / b->second.first, a->second.second / b->second.second,
                        note);
        }
    }
    // Wall and CPU time per iteration, by benchmark function.
    std::map<std::string, std::pair<double, double>> times_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
