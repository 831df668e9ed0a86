// SPDX-License-Identifier: Zlib
#include "api/frame.h"
#include "support/files.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>

namespace {

TEST_F(Files, ModesOpenWhatTheyNameAndNothingElse) {
    const struct {
        u8 mode;
        bool opens_existing, opens_missing;
        const char* after; // the existing file, after "XY" was written at position 0
    } cases[] = {{FILE_MODE_WRITE, true, true, "XY"},
                 {FILE_MODE_READ, true, false, "content"},
                 {FILE_MODE_READ_WRITE, true, false, "XYntent"},
                 {FILE_MODE_APPEND, true, true, "contentXY"},
                 {FILE_MODE_READ_APPEND, true, true, "contentXY"},
                 {0, false, false, "content"},
                 {5, false, false, "content"},
                 {7, false, false, "content"},
                 {8, false, false, "content"},
                 {255, false, false, "content"}};
    const fs::path existing = root / "existing";
    const fs::path missing = root / "missing";
    for (const auto& c : cases) {
        SCOPED_TRACE(int{c.mode});
        write_text(existing, "content");
        fs::remove(missing);
        file_stream* file = file_open(P(missing), c.mode);
        EXPECT_EQ(file_failed(file), !c.opens_missing);
        EXPECT_EQ(fs::exists(missing), c.opens_missing);
        if (file != nullptr) file_close(file);
        file = file_open(P(existing), c.mode);
        ASSERT_EQ(file_failed(file), !c.opens_existing);
        if (file != nullptr) {
            file_write(file, 2, "XY");
            file_close(file);
        }
        EXPECT_EQ(read_text(existing), c.after);
        EXPECT_EQ(file_open(P(root), c.mode), nullptr);
    }
}

TEST_F(Files, ReadAppendReadsFromTheStartAndWritesAtTheEnd) {
    write_text(root / "a", "0123");
    file_stream* const file = file_open(P(root / "a"), FILE_MODE_READ_APPEND);
    EXPECT_EQ(file_read_byte(file), '0');
    EXPECT_EQ(file_seek(file, 1), 1);
    EXPECT_EQ(file_write(file, 1, "4"), 1u);
    EXPECT_EQ(file_seek(file, 1), 1);
    EXPECT_EQ(file_read_byte(file), '1');
    file_close(file);
    EXPECT_EQ(read_text(root / "a"), "01234");
}

TEST_F(Files, EveryByteComesBackAndOnlyTheEndMarkTellsTheEndFromByte255) {
    file_stream* file = file_open(P(root / "bytes"), FILE_MODE_WRITE);
    EXPECT_EQ(file_size(file), 0);
    for (u32 value = 0; value < 256; ++value) {
        file_write_byte(file, static_cast<u8>(value));
    }
    EXPECT_EQ(file_size(file), 256); // with what is still in the buffer
    file_close(file);

    file = file_open(P(root / "bytes"), FILE_MODE_READ);
    for (int value = 0; value < 256; ++value) {
        EXPECT_EQ(file_size(file), 256);
        EXPECT_EQ(file_read_byte(file), value);
        EXPECT_EQ(file_end(file), 0);
    }
    EXPECT_EQ(file_read_byte(file), 255);
    EXPECT_EQ(file_end(file), 1);
    EXPECT_EQ(file_size(file), 256);
    EXPECT_EQ(file_end(file), 0);

    u8 block[300] = {};
    EXPECT_EQ(file_seek(file, 200), 1);
    EXPECT_EQ(file_read(file, 56, block), 56u);
    EXPECT_EQ(file_end(file), 0);
    EXPECT_EQ(block[55], 255);
    EXPECT_EQ(file_seek(file, 0), 1);
    EXPECT_EQ(file_read(file, sizeof block, block), 256u);
    EXPECT_EQ(file_end(file), 1);
    EXPECT_EQ(file_read(file, 0, nullptr), 0u);
    file_close(file);

    const std::string large(100000, 'x');
    file = file_open(P("/dev/full"), FILE_MODE_WRITE);
    EXPECT_LT(file_write(file, large.size(), large.data()), large.size());
    file_close(file);
}

TEST_F(Files, PositionsAndSizesHave32Bits) {
    const fs::path large = root / "large";
    write_text(large, "0123456789");
    const struct {
        u64 size;
        i64 reported;
    } sizes[] = {{10, 10},         {0x7FFFFFFF, 0x7FFFFFFF}, {0x80000000, -2147483648},
                 {0xFFFFFFFF, -1}, {0x100000000, 0},         {0x200000007, 7}};
    for (const auto& c : sizes) {
        SCOPED_TRACE(c.size);
        fs::resize_file(large, c.size);
        file_stream* const file = file_open(P(large), FILE_MODE_READ);
        // The stream is the C library's, which can stand behind what file_seek reaches.
        const i64 position = 0x123456789;
        ASSERT_EQ(fseeko(reinterpret_cast<FILE*>(file), position, SEEK_SET), 0);
        EXPECT_EQ(file_size(file), c.reported);
        EXPECT_EQ(ftello(reinterpret_cast<FILE*>(file)), position);
        file_close(file);
    }
    file_stream* const file = file_open(P(large), FILE_MODE_READ);
    const struct {
        i64 position;
        bool done;
        i64 now;
    } seeks[] = {{3, true, 3},
                 {0x100000005, true, 5},
                 {0xFFFFFFFF, false, 5},
                 {0x80000000, false, 5},
                 {-1, false, 5},
                 {INT64_MIN, true, 0},
                 {0x7FFFFFFF, true, 0x7FFFFFFF},
                 {0, true, 0}};
    for (const auto& c : seeks) {
        SCOPED_TRACE(c.position);
        EXPECT_EQ(file_seek(file, c.position), c.done);
        EXPECT_EQ(ftello(reinterpret_cast<FILE*>(file)), c.now);
    }
    file_close(file);
}

TEST_F(Files, KindsOfPathAnswerAsWhatTheyLeadTo) {
    make_one_of_each();
    const struct {
        const char* name;
        bool file, directory;
    } cases[] = {{"file", true, false},           {"hard", true, false},
                 {"link", true, false},           {"fifo", true, false},
                 {"directory", false, true},      {"directory/", false, true},
                 {"directory_link", false, true}, {"directory/.", false, true},
                 {"dangling", false, false},      {"missing", false, false},
                 {"file/", false, false},         {"missing/file", false, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(file_exists(P(root / c.name)), c.file);
        EXPECT_EQ(directory_exists(P(root / c.name)), c.directory);
    }
    EXPECT_EQ(file_exists({nullptr, 0}), 0);
    EXPECT_EQ(directory_exists({reinterpret_cast<void*>(1), -1}), 0);
}

TEST_F(Files, CreatingAndDeletingKeepToTheirKindAndToOneLevel) {
    make_one_of_each();
    const struct {
        b8 (*call)(Slice);
        const char* name;
        bool done;
    } cases[] = {{file_create, "new", true},
                 {file_create, "file", true}, // cut, and with it its other name
                 {file_create, "directory", false},
                 {file_create, "missing/new", false},
                 {file_delete, "directory", false},
                 {file_delete, "empty", false},
                 {file_delete, "missing", false},
                 {file_delete, "file/", false},
                 {file_delete, "new", true},
                 {file_delete, "link", true}, // and not what it leads to
                 {file_delete, "dangling", true},
                 {directory_create, "fresh", true},
                 {directory_create, "fresh", false},
                 {directory_create, "file", false},
                 {directory_create, "one/two", false},
                 {directory_delete, "directory", false}, // isn't empty
                 {directory_delete, "other", false},
                 {directory_delete, "missing", false},
                 {directory_delete, "empty", true}};
    auto expected = snapshot(root);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.call(P(root / c.name)), c.done);
        const auto now = snapshot(root);
        if (!c.done) {
            EXPECT_EQ(now, expected);
        }
        expected = now;
    }
    std::set<std::string> left;
    for (const auto& [path, state] : expected) {
        left.insert(fs::path(path).lexically_relative(root).native());
    }
    EXPECT_EQ(left, (std::set<std::string>{"file", "hard", "other", "directory", "directory/inside",
                                           "directory_link", "fifo", "fresh"}));
    EXPECT_EQ(read_text(root / "hard"), "");
}

TEST_F(Files, CopiesHoldTheSameBytes) {
    for (const size_t size : {0u, 1u, 4096u, 65535u, 65536u, 65537u, 131072u, 1000000u}) {
        SCOPED_TRACE(size);
        std::string content(size, '\0');
        std::mt19937 random(4);
        std::generate(content.begin(), content.end(), [&] { return static_cast<char>(random()); });
        write_text(root / "from", content);
        write_text(root / "to", std::string(size + 1000, 'x'));
        EXPECT_EQ(file_copy(P(root / "from"), P(root / "to")), 1);
        EXPECT_EQ(read_text(root / "to"), content);
        EXPECT_EQ(read_text(root / "from"), content);
    }
    // A file whose size says nothing.
    EXPECT_EQ(file_copy(P("/proc/version"), P(root / "version")), 1);
    EXPECT_EQ(read_text(root / "version"), read_text("/proc/version"));
    EXPECT_EQ(file_copy(P("/proc/version"), P("/dev/full")), 1);
}

TEST_F(Files, RefusedCopiesAndCopiesOntoTheSameFileTouchNothing) {
    make_one_of_each();
    const struct {
        const char* from;
        const char* to;
        bool result;
    } cases[] = {{"missing", "other", false},
                 {"missing", "new", false},
                 {"directory", "other", false},
                 {"directory", "new", false},
                 {"directory_link", "new", false},
                 {"dangling", "new", false},
                 {"file", "directory", false},
                 {"file", "missing/new", false},
                 {"file", "file", true},
                 {"file", "hard", true},
                 {"file", "link", true},
                 {"link", "file", true},
                 {"hard", "./directory/../file", true}};
    const auto before = snapshot(root);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.from << " to " << c.to);
        EXPECT_EQ(file_copy(P(root / c.from), P(root / c.to)), c.result);
        EXPECT_EQ(snapshot(root), before);
    }
}

// Each call that takes one path, and each that takes two.
const struct {
    const char* name;
    std::function<bool(Slice)> call;
} one_path_calls[] = {
    {"file_create", file_create},
    {"file_exists", file_exists},
    {"file_delete", file_delete},
    {"directory_create", directory_create},
    {"directory_delete", directory_delete},
    {"directory_exists", directory_exists},
    {"file_open", [](Slice path) { return file_open(path, FILE_MODE_WRITE) != nullptr; }},
    {"directory_get_content", [](Slice path) {
         DirectoryContent content = {};
         directory_get_content(&content, path);
         return content.directories.count + content.files.count > 0;
     }}};
using two_paths = b8 (*)(Slice, Slice);
constexpr two_paths two_path_calls[] = {file_copy, file_rename, directory_rename};

TEST_F(Files, PathsThatDoNotFitAreRefusedWithTheArenaAsItWas) {
    write_text(root / "file", "content");
    const auto before = snapshot(root);
    std::string text(16384, 'x');
    const std::string start = (root / "file").native() + '\0';
    std::copy(start.begin(), start.end(), text.begin());
    const auto refused = [&](const std::function<bool()>& call) {
        temporary_pos = 5000;
        const std::string arena(reinterpret_cast<char*>(temporary_buffer), sizeof temporary_buffer);
        EXPECT_FALSE(call());
        EXPECT_EQ(temporary_pos, 5000);
        EXPECT_EQ(std::memcmp(arena.data(), temporary_buffer, arena.size()), 0);
        EXPECT_EQ(snapshot(root), before);
    };
    for (const i64 count : {i64{16384}, i64{1} << 32, INT64_MAX}) {
        SCOPED_TRACE(count);
        const Slice path = {text.data(), count};
        for (const auto& one : one_path_calls) {
            SCOPED_TRACE(one.name);
            refused([&] { return one.call(path); });
        }
        for (const auto call : two_path_calls) {
            refused([&] { return call(path, P(root / "new")); });
            refused([&] { return call(P(root / "file"), path); });
        }
    }
    for (const auto call : two_path_calls) {
        refused([&] { return call({text.data(), 8191}, {text.data(), 8192}); });
    }
    // One byte less and the zero byte behind the name ends the path.
    EXPECT_EQ(file_exists({text.data(), 16383}), 1);
    EXPECT_EQ(temporary_pos, 16384);
    std::string other = text;
    const std::string target = (root / "new").native() + '\0';
    std::copy(target.begin(), target.end(), other.begin());
    EXPECT_EQ(file_copy({text.data(), 8191}, {other.data(), 8191}), 1);
    EXPECT_EQ(temporary_pos, 16384);
    EXPECT_EQ(read_text(root / "new"), "content");
    // Longer than the system takes, and still within the arena.
    EXPECT_EQ(file_create({std::string(8000, 'x').data(), 8000}), 0);
}

TEST_F(Files, NamesOfEveryKindGoOutAndComeBackByteByByte) {
    const std::string names[] = {"\xC3\xA9t\xC3\xA9",
                                 "e\xCC\x81",
                                 "\xD1\x84\xD0\xB0",
                                 "\xE4\xB8\xAD",
                                 "\xF0\x9F\x98\x80",
                                 "a b",
                                 "*",
                                 "?",
                                 "back\\slash",
                                 "C:",
                                 "-r",
                                 "line\nend",
                                 "%s",
                                 "~",
                                 "...",
                                 "\x01\x7F",
                                 "\xFF\xFE",
                                 "\xC0\xAF",
                                 "\xED\xA0\x80",
                                 "cut\xE4\xB8",
                                 "\x80",
                                 std::string(255, 'n')};
    for (const std::string& name : names) {
        SCOPED_TRACE(testing::PrintToString(name));
        const P path(root / name), plain(root / "plain");
        ASSERT_EQ(file_create(path), 1);
        EXPECT_TRUE(fs::is_regular_file(root / name));
        EXPECT_EQ(file_exists(path), 1);
        EXPECT_EQ(names_in(content_of(root).files), std::set{name});
        ASSERT_EQ(file_rename(path, plain), 1);
        ASSERT_EQ(file_copy(plain, path), 1);
        EXPECT_EQ(file_delete(plain) + file_delete(path), 2);
        ASSERT_EQ(directory_create(path), 1);
        ASSERT_EQ(directory_rename(path, plain), 1);
        ASSERT_EQ(directory_rename(plain, path), 1);
        EXPECT_EQ(content_of(root / name).directories.count, 2);
        EXPECT_EQ(directory_delete(path), 1);
    }
    EXPECT_TRUE(fs::is_empty(root));
}

TEST_F(Files, RepeatedCallsKeepNoDescriptorOpen) {
    make_one_of_each();
    const int before = open_descriptors();
    const P file(root / "file"), directory(root / "directory"), missing(root / "missing"),
        fresh(root / "fresh"), below(root / "missing/below");
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(file_open(directory, FILE_MODE_READ), nullptr);
        ASSERT_EQ(file_open(missing, FILE_MODE_READ), nullptr);
        file_stream* const stream = file_open(file, FILE_MODE_READ);
        ASSERT_EQ(file_failed(stream), 0);
        file_close(stream);
        ASSERT_EQ(file_exists(file), 1);
        ASSERT_EQ(file_exists(directory), 0);
        ASSERT_EQ(file_copy(file, fresh), 1);
        ASSERT_EQ(file_copy(file, below), 0);
        ASSERT_EQ(file_copy(file, directory), 0);
        ASSERT_EQ(file_copy(directory, fresh), 0);
        ASSERT_EQ(file_copy(file, file), 1);
        ASSERT_EQ(file_rename(file, fresh), 0);
        ASSERT_EQ(file_create(directory), 0);
        ASSERT_EQ(file_delete(fresh), 1);
        ASSERT_GE(content_of(root / "directory").files.count, 1);
        ASSERT_EQ(content_of(root / "file").files.count, 0);
    }
    EXPECT_EQ(open_descriptors(), before);
}

} // namespace
