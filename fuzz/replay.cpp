// SPDX-License-Identifier: Zlib
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

// Gives a fuzz target inputs that are there already: all files of the folders that are named.

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

void replay(const fs::path& path) {
    std::fprintf(stderr, "%s\n", path.c_str());
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
    // A block of exactly that size, so that a step behind its end is seen.
    const auto block = std::make_unique<uint8_t[]>(content.size());
    std::copy(content.begin(), content.end(), block.get());
    LLVMFuzzerTestOneInput(block.get(), content.size());
}

} // namespace

int main(int count, char** arguments) {
    int inputs = 0;
    for (int i = 1; i < count; ++i) {
        if (!fs::is_directory(arguments[i])) continue;
        for (const auto& entry : fs::directory_iterator(arguments[i])) {
            replay(entry.path());
            ++inputs;
        }
    }
    std::fprintf(stderr, "%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
