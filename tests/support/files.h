// SPDX-License-Identifier: Zlib
#pragma once

#include "api/files.h"
#include "support/common.h"
#include "support/guarded_text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

// Every path ends at an unreadable page.
class path_text : public guarded_text {
public:
    explicit path_text(const fs::path& path) : guarded_text(path.native()) {
    }
    operator Slice() const {
        return slice();
    }
};
using P = path_text;

inline void write_text(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string read_text(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// All that stands in a directory: kind and mode of each name, content and time of a file.
inline std::map<fs::path, std::string> snapshot(const fs::path& directory) {
    std::map<fs::path, std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        struct stat status;
        lstat(entry.path().c_str(), &status);
        std::string& text = found[entry.path()] = std::to_string(status.st_mode) + " ";
        if (entry.is_symlink()) {
            text += fs::read_symlink(entry.path()).native();
        } else if (entry.is_regular_file()) {
            text += std::to_string(status.st_mtim.tv_sec) + "." +
                    std::to_string(status.st_mtim.tv_nsec) + " " + read_text(entry.path());
        }
    }
    return found;
}

inline fs::path fresh_directory(const fs::path& parent) {
    std::string path = (parent / "files-test-XXXXXX").native();
    EXPECT_NE(mkdtemp(path.data()), nullptr) << path;
    return path;
}

// With one of each: a file, a hard link to it, directories, links to a file, to a directory and to
// nowhere. No test may leave a descriptor open.
class Files : public ::testing::Test {
protected:
    Files() {
        write_text(root / "file", "content");
        write_text(root / "other", "other content");
        fs::create_hard_link(root / "file", root / "hard");
        fs::create_directory(root / "directory");
        write_text(root / "directory/inside", "x");
        fs::create_directory(root / "empty");
        fs::create_symlink("file", root / "link");
        fs::create_directory_symlink("directory", root / "directory_link");
        fs::create_symlink("nothing", root / "dangling");
        mkfifo((root / "fifo").c_str(), 0666);
    }
    void TearDown() override {
        EXPECT_EQ(open_descriptors(), descriptors);
        fs::remove_all(root);
    }
    const int descriptors = open_descriptors();
    const fs::path root = fresh_directory(fs::temp_directory_path());
};

inline std::set<std::string> names_in(const Slice& array) {
    std::set<std::string> names;
    for (i64 i = 0; i < array.count; ++i) {
        names.insert(text_of(static_cast<const Slice*>(array.data)[i]));
    }
    return names;
}

inline DirectoryContent content_of(const fs::path& path) {
    DirectoryContent content = {};
    directory_get_content(&content, P(path));
    return content;
}
