// SPDX-License-Identifier: Zlib
#include "api/network.h"
#include "support/files.h"

#include <cstring>
#include <random>

namespace {

using Listing = Files;

const std::set<std::string> dots = {".", ".."};

TEST_F(Listing, SortsEntriesByWhatTheyLeadTo) {
    write_text(root / ".hidden", "");
    for (const std::string& path : {root.native(), root.native() + "/"}) {
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

bool is_refused(const fs::path& path) {
    DirectoryContent content, before;
    std::memset(&content, 0xAB, sizeof content);
    std::memset(&before, 0xAB, sizeof before);
    directory_get_content(&content, P(path));
    return std::memcmp(&content, &before, sizeof content) == 0;
}

TEST_F(Listing, OfNoReadableDirectoryLeavesTheRecordAndEarlierResults) {
    const DirectoryContent earlier = content_of(root);
    const auto files = names_in(earlier.files);
    for (const char* const name : {"file", "link", "dangling", "fifo", "missing", "file/"}) {
        for (int i = 0; i < 1000; ++i) {
            ASSERT_TRUE(is_refused(root / name)) << name;
        }
    }
    EXPECT_EQ(names_in(earlier.files), files);
}

// Names and arrays of one listing, none of which may lie over another.
void expect_apart(const DirectoryContent& content) {
    std::map<const char*, size_t> blocks;
    const auto add = [&blocks](const void* start, i64 size) {
        EXPECT_TRUE(blocks.emplace(static_cast<const char*>(start), size).second);
    };
    for (const Slice& array : {content.directories, content.files}) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(array.data) % alignof(Slice), 0u);
        const auto* const names = static_cast<const Slice*>(array.data);
        if (array.count > 0) add(names, array.count * i64{sizeof(Slice)});
        for (i64 i = 0; i < array.count; ++i) {
            add(names[i].data, names[i].count + 1);
            ASSERT_EQ(static_cast<const char*>(names[i].data)[names[i].count], 0);
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

// Counts on both sides of what one lap of the arena holds in the ordinary layout. The last doubling
// of an array that stands alone is half the arena: from some positions it would start at the front
// for the second time.
TEST_F(Listing, OfAnySizeComesBackWholeFromEveryPosition) {
    const struct {
        size_t length, files_to_a_directory;
        std::vector<size_t> counts;
    } kinds[] = {{32, 9, {10, 5000, 6100, 6300, 6400, 7500}}, {20, 0, {9000, 9000, 9000}}};
    std::mt19937 random(1);
    for (const auto& kind : kinds) {
        const fs::path large = fresh_directory(root);
        std::set<std::string> files, directories = dots;
        size_t number = 0;
        for (const size_t count : kind.counts) {
            SCOPED_TRACE(count);
            for (; number < count; ++number) {
                const std::string name = numbered(number, kind.length);
                if (number % (kind.files_to_a_directory + 1) == 0) {
                    fs::create_directory_symlink("..", large / name);
                    directories.insert(name);
                } else {
                    write_text(large / name, "");
                    files.insert(name);
                }
            }
            for (int round = 0; round < 5; ++round) {
                for (u32 blocks = random() % 8192; blocks > 0; --blocks) {
                    Slice result;
                    network_address_get_ip(&result, {});
                }
                const DirectoryContent content = content_of(large);
                ASSERT_EQ(names_in(content.files), files);
                ASSERT_EQ(names_in(content.directories), directories);
                ASSERT_EQ(content.files.data == nullptr, files.empty());
                expect_apart(content);
            }
        }
    }
}

// 16 bytes of record, the name and its zero byte for each entry: 37 for the two dots, 2000 times
// 262 and one of 251 make the arena's 524288.
TEST_F(Listing, ThatFillsTheArenaIsWholeAndOneByteMoreIsRefused) {
    const fs::path full = root / "empty";
    for (size_t number = 0; number < 2000; ++number) {
        write_text(full / numbered(number, 245), "");
    }
    write_text(full / std::string(234, 'x'), "");
    const DirectoryContent content = content_of(full);
    EXPECT_EQ(names_in(content.files).size(), 2001u);
    EXPECT_EQ(names_in(content.directories), dots);
    expect_apart(content);
    fs::rename(full / std::string(234, 'x'), full / std::string(235, 'x'));
    EXPECT_TRUE(is_refused(full));
    fs::remove(full / std::string(235, 'x'));
    EXPECT_EQ(names_in(content_of(full).files).size(), 2000u);
}

} // namespace
