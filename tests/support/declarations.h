// SPDX-License-Identifier: Zlib
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

// The functions that the public headers declare; of those headers whose names begin with `prefix`.
inline std::set<std::string> declared_functions(const std::string& prefix = "") {
    std::set<std::string> declared;
    for (const auto& entry : std::filesystem::directory_iterator(SOURCE_DIR "/src/api")) {
        if (entry.path().filename().string().rfind(prefix, 0) != 0) continue;
        std::ifstream file(entry.path());
        const std::string header(std::istreambuf_iterator<char>(file), {});
        const std::regex declaration("\nHALVORIN_API[^;(]*[ *]([a-z0-9_]+)\\(");
        for (std::sregex_iterator i(header.begin(), header.end(), declaration), end; i != end;
             ++i) {
            declared.insert((*i)[1]);
        }
    }
    return declared;
}
