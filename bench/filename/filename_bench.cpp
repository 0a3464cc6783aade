// SPDX-License-Identifier: MIT
// File-name operations on 10^6 generated Windows-style paths, side by side with
// std::filesystem on the same inputs spelled with the host's separator.
//
// Every benchmark walks the same inputs in a cycle, one call per iteration. The
// allocs/call counter counts calls of operator new inside the timed loop.
#include <orrery/filename.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

std::size_t g_allocations = 0;

}  // namespace

void* operator new(std::size_t size) {
    ++g_allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept {
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace {

namespace fn = Orrery::Filename;
namespace fs = std::filesystem;

constexpr std::size_t kPaths = 1000000;
// Three passes over the inputs; a fixed count also runs each benchmark function once.
constexpr benchmark::IterationCount kIterations = 3 * kPaths;

const char* const kNames[] = {"src",
                              "include",
                              "orrery",
                              "filename.h",
                              "Program Files",
                              "build-x86_64",
                              "d\xc3\xa9j\xc3\xa0",
                              "lib",
                              "CMakeLists.txt",
                              "a",
                              "tests",
                              "archive.tar.gz",
                              "Data",
                              "x64",
                              "Release",
                              "com.example.app",
                              "v1.2.3",
                              "share",
                              "bin",
                              "\xe6\x97\xa5\xe6\x9c\xac"};

std::string hostSpelling(std::string path) {
    for (char& c : path) {
        if (c == '\\') {
            c = '/';
        }
    }
    return path;
}

/// The inputs as strings. Each std::filesystem benchmark builds its path objects from
/// the host spellings before its timed loop (and drops them afterwards, to keep memory
/// in bounds).
struct Data {
    std::vector<std::string> mixed;       // ".", "..", mixed and doubled separators
    std::vector<std::string> normal;      // normalize_pathname(mixed)
    std::vector<std::string> mixedHost;   // mixed with '/'
    std::vector<std::string> normalHost;  // lexically_normal(mixedHost)
    std::vector<std::string> relPath;     // make_relative_path inputs, folded
    std::vector<std::string> relBase;
    std::vector<std::string> relPathHost;
    std::vector<std::string> relBaseHost;

    Data() {
        std::mt19937 rng(20250601);
        auto pick = [&rng](std::size_t n) {
            return static_cast<std::size_t>(rng() % static_cast<unsigned>(n));
        };
        const std::size_t nameCount = sizeof(kNames) / sizeof(kNames[0]);
        mixed.reserve(kPaths);
        normal.reserve(kPaths);
        for (std::size_t i = 0; i < kPaths; ++i) {
            std::string path;
            const std::size_t root = pick(10);
            if (root < 5) {
                path = "C:\\";
            } else if (root < 6) {
                path = "\\\\server\\share\\";
            } else if (root < 7) {
                path = "\\";
            }
            const std::size_t depth = 3 + pick(8);
            for (std::size_t d = 0; d < depth; ++d) {
                if (d > 0) {
                    path += pick(2) == 0 ? '\\' : '/';
                    if (pick(20) == 0) {
                        path += '/';
                    }
                }
                const std::size_t kind = pick(10);
                path += kind == 0 ? "." : kind == 1 ? ".." : kNames[pick(nameCount)];
            }
            mixed.push_back(path);
            normal.push_back(fn::normalize_pathname(path));
        }
        mixedHost.reserve(kPaths);
        normalHost.reserve(kPaths);
        for (const std::string& path : mixed) {
            mixedHost.push_back(hostSpelling(path));
            normalHost.push_back(fs::path(mixedHost.back()).lexically_normal().native());
        }
        // Pairs: a descendant, an ancestor, the same path or a sibling, under "C:\".
        relPath.reserve(kPaths);
        relBase.reserve(kPaths);
        for (std::size_t i = 0; i < kPaths; ++i) {
            std::string base = "C:\\";
            const std::size_t depth = 2 + pick(6);
            for (std::size_t d = 0; d < depth; ++d) {
                base += kNames[pick(nameCount)];
                base += '\\';
            }
            std::string path = base;
            const std::size_t shape = pick(4);
            if (shape == 0) {
                path += "sub\\file.txt";
            } else if (shape == 1) {
                base += "x\\y\\z";
            } else if (shape == 3) {
                path += "p\\f";
                base += "q";
            }
            relPath.push_back(fn::normalize_pathname(path));
            relBase.push_back(fn::normalize_pathname(base));
            relPathHost.push_back(hostSpelling(relPath.back()));
            relBaseHost.push_back(hostSpelling(relBase.back()));
        }
    }
};

const Data& data() {
    static const Data instance;
    return instance;
}

std::vector<fs::path> paths(const std::vector<std::string>& texts) {
    return std::vector<fs::path>(texts.begin(), texts.end());
}

/// Runs @p call on the inputs in a cycle and reports calls of operator new per call.
template <typename Call>
void cycle(benchmark::State& state, std::size_t count, Call call) {
    std::size_t i = 0;
    const std::size_t before = g_allocations;
    for (auto _ : state) {
        call(i);
        if (++i == count) {
            i = 0;
        }
    }
    state.counters["allocs/call"] = benchmark::Counter(static_cast<double>(g_allocations - before),
                                                       benchmark::Counter::kAvgIterations);
    state.SetItemsProcessed(state.iterations());
}

// --- normalisation -----------------------------------------------------------

void NormalizePathname_Mixed(benchmark::State& state) {
    const Data& d = data();
    cycle(state, kPaths, [&](std::size_t i) {
        std::string out = fn::normalize_pathname(d.mixed[i]);
        benchmark::DoNotOptimize(out.data());
    });
}

void LexicallyNormal_Mixed(benchmark::State& state) {
    const std::vector<fs::path> in = paths(data().mixedHost);
    cycle(state, kPaths, [&](std::size_t i) {
        fs::path out = in[i].lexically_normal();
        benchmark::DoNotOptimize(out.native().data());
    });
}

void LexicallyNormal_MixedFromString(benchmark::State& state) {
    // The same, with the path object built from the string inside the timed loop.
    const Data& d = data();
    cycle(state, kPaths, [&](std::size_t i) {
        std::string out = fs::path(d.mixedHost[i]).lexically_normal().native();
        benchmark::DoNotOptimize(out.data());
    });
}

void NormalizePathname_AlreadyNormal(benchmark::State& state) {
    const Data& d = data();
    cycle(state, kPaths, [&](std::size_t i) {
        std::string out = fn::normalize_pathname(d.normal[i]);
        benchmark::DoNotOptimize(out.data());
    });
}

void NormalizePathname_AlreadyNormalIntoBuffer(benchmark::State& state) {
    // The bool form writing into a caller's string that already has room.
    const Data& d = data();
    std::string out;
    out.reserve(4096);
    cycle(state, kPaths, [&](std::size_t i) {
        fn::normalize_pathname(d.normal[i], &out);
        benchmark::DoNotOptimize(out.data());
    });
}

void LexicallyNormal_AlreadyNormal(benchmark::State& state) {
    const std::vector<fs::path> in = paths(data().normalHost);
    cycle(state, kPaths, [&](std::size_t i) {
        fs::path out = in[i].lexically_normal();
        benchmark::DoNotOptimize(out.native().data());
    });
}

// --- relative paths ----------------------------------------------------------

void MakeRelativePath(benchmark::State& state) {
    const Data& d = data();
    cycle(state, kPaths, [&](std::size_t i) {
        std::string out;
        const bool ok = fn::make_relative_path(d.relPath[i], d.relBase[i], &out);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(out.data());
    });
}

void LexicallyRelative(benchmark::State& state) {
    const std::vector<fs::path> path = paths(data().relPathHost);
    const std::vector<fs::path> base = paths(data().relBaseHost);
    cycle(state, kPaths, [&](std::size_t i) {
        fs::path out = path[i].lexically_relative(base[i]);
        benchmark::DoNotOptimize(out.native().data());
    });
}

void LexicallyRelative_FromStrings(benchmark::State& state) {
    // The same, with both path objects built from the strings inside the timed loop.
    const Data& d = data();
    cycle(state, kPaths, [&](std::size_t i) {
        std::string out =
            fs::path(d.relPathHost[i]).lexically_relative(fs::path(d.relBaseHost[i])).native();
        benchmark::DoNotOptimize(out.data());
    });
}

void LexicallyNormalThenRelative_FromStrings(benchmark::State& state) {
    // What make_relative_path does in std::filesystem terms: fold both, then relate.
    const Data& d = data();
    cycle(state, kPaths, [&](std::size_t i) {
        const fs::path path = fs::path(d.relPathHost[i]).lexically_normal();
        const fs::path base = fs::path(d.relBaseHost[i]).lexically_normal();
        std::string out = path.lexically_relative(base).native();
        benchmark::DoNotOptimize(out.data());
    });
}

// --- comparison --------------------------------------------------------------

void CompareFilenames(benchmark::State& state) {
    // Each path against the next, and against its own normal form (a long common prefix).
    const Data& d = data();
    cycle(state, kPaths - 1, [&](std::size_t i) {
        benchmark::DoNotOptimize(fn::compare_filenames(d.normal[i], d.normal[i + 1]));
        benchmark::DoNotOptimize(fn::compare_filenames(d.relPath[i], d.relBase[i]));
    });
}

void PathCompare(benchmark::State& state) {
    // std::filesystem's (case-sensitive, component-wise) comparison on the same pairs.
    const std::vector<fs::path> normal = paths(data().normalHost);
    const std::vector<fs::path> path = paths(data().relPathHost);
    const std::vector<fs::path> base = paths(data().relBaseHost);
    cycle(state, kPaths - 1, [&](std::size_t i) {
        benchmark::DoNotOptimize(normal[i].compare(normal[i + 1]));
        benchmark::DoNotOptimize(path[i].compare(base[i]));
    });
}

// --- extensions --------------------------------------------------------------

void RenameExtension(benchmark::State& state) {
    const Data& d = data();
    const std::string ext = "bak";
    cycle(state, kPaths, [&](std::size_t i) {
        std::string out = fn::rename_extension(d.normal[i], ext);
        benchmark::DoNotOptimize(out.data());
    });
}

void PathReplaceExtension(benchmark::State& state) {
    const std::vector<fs::path> in = paths(data().normalHost);
    const fs::path ext = "bak";
    cycle(state, kPaths, [&](std::size_t i) {
        fs::path out = in[i];
        out.replace_extension(ext);
        benchmark::DoNotOptimize(out.native().data());
    });
}

}  // namespace

BENCHMARK(NormalizePathname_Mixed)->Iterations(kIterations);
BENCHMARK(LexicallyNormal_Mixed)->Iterations(kIterations);
BENCHMARK(LexicallyNormal_MixedFromString)->Iterations(kIterations);
BENCHMARK(NormalizePathname_AlreadyNormal)->Iterations(kIterations);
BENCHMARK(NormalizePathname_AlreadyNormalIntoBuffer)->Iterations(kIterations);
BENCHMARK(LexicallyNormal_AlreadyNormal)->Iterations(kIterations);
BENCHMARK(MakeRelativePath)->Iterations(kIterations);
BENCHMARK(LexicallyRelative)->Iterations(kIterations);
BENCHMARK(LexicallyRelative_FromStrings)->Iterations(kIterations);
BENCHMARK(LexicallyNormalThenRelative_FromStrings)->Iterations(kIterations);
BENCHMARK(CompareFilenames)->Iterations(kIterations);
BENCHMARK(PathCompare)->Iterations(kIterations);
BENCHMARK(RenameExtension)->Iterations(kIterations);
BENCHMARK(PathReplaceExtension)->Iterations(kIterations);

BENCHMARK_MAIN();
