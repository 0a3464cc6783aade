// SPDX-License-Identifier: MIT
// Plain main() for a fuzz target: feeds every file of the given corpus folders (or the
// given files) to the target once, so that the corpora run as ordinary tests in every
// build. An empty corpus is a failure, so a lost folder cannot pass unnoticed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        const fs::path path(argv[i]);
        if (fs::is_directory(path)) {
            for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
                if (entry.is_regular_file()) {
                    inputs.push_back(entry.path());
                }
            }
        } else if (fs::is_regular_file(path)) {
            inputs.push_back(path);
        } else {
            std::fprintf(stderr, "no such corpus: %s\n", argv[i]);
            return 1;
        }
    }
    std::sort(inputs.begin(), inputs.end());
    if (inputs.empty()) {
        std::fprintf(stderr, "empty corpus\n");
        return 1;
    }
    for (const fs::path& path : inputs) {
        std::ifstream file(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)),
                                std::istreambuf_iterator<char>());
        // Named before running, so that the input of a crash is the last one shown.
        std::fprintf(stderr, "%s\n", path.filename().string().c_str());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs replayed\n", inputs.size());
    return 0;
}
