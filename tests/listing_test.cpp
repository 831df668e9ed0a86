// SPDX-License-Identifier: Zlib
#include "support/files.h"

#include <cstring>

namespace {

using Listing = Files;

const std::set<std::string> dots = {".", ".."};

TEST_F(Listing, SortsEntriesByWhatTheyLeadTo) {
    make_one_of_each();
    write_text(root / ".hidden", "");
    for (const std::string& path : {root.native(), root.native() + "/", root.native() + "//"}) {
        const DirectoryContent content = content_of(path);
        EXPECT_EQ(names_in(content.directories),
                  (std::set<std::string>{".", "..", "directory", "empty", "directory_link"}));
        EXPECT_EQ(names_in(content.files), (std::set<std::string>{"file", "hard", "other", "link",
                                                                  "dangling", "fifo", ".hidden"}));
    }
    const DirectoryContent empty = content_of(root / "empty");
    EXPECT_EQ(names_in(empty.directories), dots);
    EXPECT_EQ(empty.files.data, nullptr);
    EXPECT_EQ(empty.files.count, 0);
    EXPECT_EQ(names_in(content_of("").directories), names_in(content_of("/").directories));
}

TEST_F(Listing, OfNoReadableDirectoryLeavesTheRecordAndEarlierResults) {
    make_one_of_each();
    const DirectoryContent earlier = content_of(root);
    const auto files = names_in(earlier.files);
    for (const char* const name : {"file", "link", "dangling", "fifo", "missing", "file/"}) {
        DirectoryContent content;
        std::memset(&content, 0xAB, sizeof content);
        const DirectoryContent before = content;
        for (int i = 0; i < 1000; ++i) {
            directory_get_content(&content, P(root / name));
        }
        EXPECT_EQ(std::memcmp(&content, &before, sizeof content), 0) << name;
    }
    EXPECT_EQ(names_in(earlier.files), files);
}

// Names and arrays of one listing, none of which may lie over another.
void expect_apart(const DirectoryContent& content) {
    std::map<const char*, size_t> blocks;
    const auto add = [&blocks](const void* start, size_t size) {
        EXPECT_TRUE(blocks.emplace(static_cast<const char*>(start), size).second);
    };
    for (const Slice& array : {content.directories, content.files}) {
        if (array.count == 0) continue;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(array.data) % alignof(Slice), 0u);
        add(array.data, static_cast<size_t>(array.count) * sizeof(Slice));
        for (i64 i = 0; i < array.count; ++i) {
            const Slice& name = static_cast<const Slice*>(array.data)[i];
            add(name.data, static_cast<size_t>(name.count) + 1);
            ASSERT_EQ(static_cast<const char*>(name.data)[name.count], 0);
        }
    }
    const char* end = nullptr;
    for (const auto& [start, size] : blocks) {
        ASSERT_GE(start, end);
        end = start + size;
    }
    EXPECT_LE(end - blocks.begin()->first, 524288);
}

std::string numbered(size_t number, size_t length) {
    const std::string digits = std::to_string(number);
    return std::string(length - digits.size(), 'n') + digits;
}

// Counts on both sides of what one lap of the arena holds in the ordinary layout, from ever
// different positions: whole each time, with both kinds growing.
TEST_F(Listing, OfAnySizeComesBackWholeFromEveryPosition) {
    std::set<std::string> files;
    std::set<std::string> directories = dots;
    fs::create_directory(root / "large");
    fs::create_directory(root / "small");
    const auto add = [&](size_t number) {
        const std::string name = numbered(number, 32);
        const bool is_directory = number % 10 == 0;
        ASSERT_EQ((is_directory ? directory_create : file_create)(P(root / "large" / name)), 1);
        (is_directory ? directories : files).insert(name);
    };
    size_t number = 0;
    for (const size_t count :
         {10u, 1000u, 5000u, 5700u, 6100u, 6300u, 6400u, 6500u, 7500u, 10000u}) {
        SCOPED_TRACE(count);
        while (number < count) {
            add(number++);
        }
        for (size_t round = 0; round < 5; ++round) {
            const fs::path shift = root / "small" / numbered(round, 100 + count % 97);
            write_text(shift, "");
            const DirectoryContent small = content_of(root / "small");
            ASSERT_EQ(small.files.count, 1);
            fs::remove(shift);
            const DirectoryContent content = content_of(root / "large");
            ASSERT_EQ(names_in(content.files), files);
            ASSERT_EQ(names_in(content.directories), directories);
            expect_apart(content);
        }
    }
}

// The last doubling of the array is half the arena: from some positions it would start at the front
// for the second time.
TEST_F(Listing, OfOneKindAloneComesBackWholeFromEveryPosition) {
    fs::create_directory(root / "target");
    fs::create_directory(root / "links");
    fs::create_directory(root / "step");
    std::set<std::string> directories = dots;
    for (size_t number = 0; number < 9000; ++number) {
        const std::string name = numbered(number, 20);
        fs::create_symlink("../target", root / "links" / name);
        directories.insert(name);
        if (number < 800) write_text(root / "step" / name, "");
    }
    for (int round = 0; round < 20; ++round) {
        const DirectoryContent step = content_of(root / "step");
        ASSERT_EQ(step.files.count, 800);
        expect_apart(step);
        for (i64 i = 0; i < step.files.count; ++i) {
            // One lap holds it, so that each name has a block of its own, also around the end.
            const Slice& name = static_cast<const Slice*>(step.files.data)[i];
            ASSERT_EQ(reinterpret_cast<uintptr_t>(name.data) % 8, 0u);
        }
        const DirectoryContent content = content_of(root / "links");
        ASSERT_EQ(names_in(content.directories), directories);
        ASSERT_EQ(content.files.data, nullptr);
        ASSERT_EQ(content.files.count, 0);
        expect_apart(content);
    }
}

// 16 bytes of record, the name and its zero byte for each entry: 37 for the two dots, 2000 times
// 262 and one of 251 make the arena's 524288.
TEST_F(Listing, ThatFillsTheArenaIsWholeAndOneByteMoreIsRefused) {
    for (size_t number = 0; number < 2000; ++number) {
        write_text(root / numbered(number, 245), "");
    }
    write_text(root / std::string(234, 'x'), "");
    const DirectoryContent content = content_of(root);
    EXPECT_EQ(names_in(content.files).size(), 2001u);
    EXPECT_EQ(names_in(content.directories), dots);
    expect_apart(content);

    fs::rename(root / std::string(234, 'x'), root / std::string(235, 'x'));
    DirectoryContent refused;
    std::memset(&refused, 0xAB, sizeof refused);
    const DirectoryContent before = refused;
    directory_get_content(&refused, P(root));
    EXPECT_EQ(std::memcmp(&refused, &before, sizeof refused), 0);
    fs::remove(root / std::string(235, 'x'));
    EXPECT_EQ(names_in(content_of(root).files).size(), 2000u);
}

} // namespace
