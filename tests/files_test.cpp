// SPDX-License-Identifier: Zlib
#include "api/frame.h"
#include "support/files.h"

#include <cstdio>
#include <functional>
#include <random>

namespace {

constexpr u64 rubbish = 0xA5A5A5A5A5A5A500; // above the bits that count

TEST_F(Files, ModesOpenWhatTheyNameAndNothingElse) {
    const struct {
        u8 mode;
        bool opens_existing, opens_missing;
        u8 first;          // what a read gives at once
        const char* after; // the existing file, after "XY" was then written at position 0
    } cases[] = {{FILE_MODE_WRITE, true, true, 255, "XY"},
                 {FILE_MODE_READ, true, false, 'c', "content"},
                 {FILE_MODE_READ_WRITE, true, false, 'c', "XYntent"},
                 {FILE_MODE_APPEND, true, true, 255, "contentXY"},
                 {FILE_MODE_READ_APPEND, true, true, 'c', "contentXY"},
                 {0, false, false, 0, "content"},
                 {5, false, false, 0, "content"},
                 {7, false, false, 0, "content"}};
    const fs::path missing = root / "missing";
    const auto open = by_name<file_stream*(Slice, u64)>("file_open");
    for (const auto& c : cases) {
        SCOPED_TRACE(int{c.mode});
        fs::remove(missing);
        file_stream* file = open(P(missing), rubbish | c.mode);
        EXPECT_EQ(file_failed(file), !c.opens_missing);
        EXPECT_EQ(fs::exists(missing), c.opens_missing);
        if (file != nullptr) file_close(file);

        write_text(root / "file", "content");
        file = open(P(root / "file"), rubbish | c.mode);
        ASSERT_EQ(file_failed(file), !c.opens_existing);
        if (file != nullptr) {
            EXPECT_EQ(file_read_byte(file), c.first);
            EXPECT_EQ(file_seek(file, 0), 1);
            file_write(file, 2, "XY");
            file_close(file);
        }
        EXPECT_EQ(read_text(root / "file"), c.after);
        EXPECT_EQ(open(P(root), c.mode), nullptr);
    }
}

TEST_F(Files, EveryByteComesBackAndOnlyTheEndMarkTellsTheEndFromByte255) {
    file_stream* file = file_open(P(root / "bytes"), FILE_MODE_WRITE);
    for (u32 value = 0; value < 256; ++value) {
        by_name<void(file_stream*, u64)>("file_write_byte")(file, rubbish | value);
    }
    EXPECT_EQ(file_size(file), 256) << "with what is still in the buffer";
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
    EXPECT_EQ(block[55], 255);
    EXPECT_EQ(file_end(file), 0);
    EXPECT_EQ(file_read(file, sizeof block, block), 0u);
    EXPECT_EQ(file_end(file), 1);
    file_close(file);

    const std::string large(100000, 'x');
    file = file_open(P("/dev/full"), FILE_MODE_WRITE);
    EXPECT_LT(file_write(file, large.size(), large.data()), large.size());
    file_close(file);
}

TEST_F(Files, PositionsAndSizesHave32Bits) {
    file_stream* const file = file_open(P(root / "file"), FILE_MODE_READ);
    // The stream is the C library's, which can stand behind what file_seek reaches.
    FILE* const stream = reinterpret_cast<FILE*>(file);
    const std::pair<u64, i64> sizes[] = {
        {0x7FFFFFFF, INT32_MAX}, {0x80000000, INT32_MIN}, {0xFFFFFFFF, -1}, {0x200000007, 7}};
    for (const auto& [size, reported] : sizes) {
        fs::resize_file(root / "file", size);
        ASSERT_EQ(fseeko(stream, 0x123456789, SEEK_SET), 0);
        EXPECT_EQ(file_size(file), reported);
        EXPECT_EQ(ftello(stream), 0x123456789);
    }
    const struct {
        i64 position;
        bool done;
        i64 now;
    } seeks[] = {{3, true, 3},           {0x100000005, true, 5}, {0xFFFFFFFF, false, 5},
                 {0x80000000, false, 5}, {INT64_MIN, true, 0},   {0x7FFFFFFF, true, 0x7FFFFFFF}};
    for (const auto& c : seeks) {
        EXPECT_EQ(file_seek(file, c.position), c.done) << c.position;
        EXPECT_EQ(ftello(stream), c.now);
    }
    file_close(file);
}

TEST_F(Files, KindsOfPathAnswerAsWhatTheyLeadTo) {
    const std::pair<std::string, std::set<std::string>> cases[] = {
        {"file", {"file", "hard", "link", "fifo", "empty/../file"}},
        {"directory", {"directory", "directory/", "directory_link", "empty/."}},
        {"nothing", {"dangling", "missing", "file/", "missing/file"}}};
    for (const auto& [kind, names] : cases) {
        for (const std::string& name : names) {
            EXPECT_EQ(file_exists(P(root / name)), kind == "file") << name;
            EXPECT_EQ(directory_exists(P(root / name)), kind == "directory") << name;
        }
    }
    EXPECT_EQ(file_exists({nullptr, 0}), 0);
    EXPECT_EQ(directory_exists({reinterpret_cast<void*>(1), -1}), 0);
}

using path_call = std::function<b8(Slice, Slice)>;

path_call one_path(b8 (*call)(Slice)) {
    return [call](Slice path, Slice) { return call(path); };
}

TEST_F(Files, CallsKeepToTheirKindAndRefusedOnesTouchNothing) {
    const path_call create = one_path(file_create), remove = one_path(file_delete),
                    create_directory = one_path(directory_create),
                    remove_directory = one_path(directory_delete), copy = file_copy;
    const struct {
        path_call call;
        const char* from;
        const char* to;
        bool done, changes;
    } cases[] = {{create, "directory", "", false, false},
                 {create, "missing/new", "", false, false},
                 {create, "new", "", true, true},
                 {remove, "empty", "", false, false},
                 {remove, "missing", "", false, false},
                 {remove, "file/", "", false, false},
                 {remove, "new", "", true, true},
                 {create_directory, "new", "", true, true},
                 {create_directory, "new", "", false, false},
                 {create_directory, "file", "", false, false},
                 {create_directory, "one/two", "", false, false},
                 {remove_directory, "directory", "", false, false}, // isn't empty
                 {remove_directory, "other", "", false, false},
                 {remove_directory, "missing", "", false, false},
                 {remove_directory, "empty", "", true, true},
                 {copy, "missing", "other", false, false},
                 {copy, "directory", "other", false, false},
                 {copy, "directory_link", "copy", false, false},
                 {copy, "dangling", "copy", false, false},
                 {copy, "file", "directory", false, false},
                 {copy, "file", "missing/new", false, false},
                 {copy, "file", "file", true, false},
                 {copy, "file", "hard", true, false},
                 {copy, "link", "file", true, false},
                 {copy, "file", "link", true, false},
                 {copy, "link", "copy", true, true},
                 {remove, "link", "", true, true}, // and not what it leads to
                 {remove, "dangling", "", true, true},
                 {create, "file", "", true, true}}; // cut, and with it its other name
    auto before = snapshot(root);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << &c - cases << ": " << c.from << " " << c.to);
        EXPECT_EQ(c.call(P(root / c.from), P(root / c.to)), c.done);
        const auto now = snapshot(root);
        EXPECT_EQ(now != before, c.changes);
        before = now;
    }
    EXPECT_EQ(names_in(content_of(root).files),
              (std::set<std::string>{"file", "hard", "other", "copy", "fifo"}));
    EXPECT_EQ(names_in(content_of(root).directories),
              (std::set<std::string>{".", "..", "directory", "directory_link", "new"}));
    EXPECT_EQ(read_text(root / "hard") + read_text(root / "copy"), "content");
}

TEST_F(Files, CopiesHoldTheSameBytes) {
    std::mt19937 random(4);
    for (const size_t size : {0u, 1u, 65535u, 65536u, 65537u, 1000000u}) {
        std::string content(size, '\0');
        std::generate(content.begin(), content.end(), [&] { return static_cast<char>(random()); });
        write_text(root / "file", content);
        write_text(root / "other", std::string(size + 1000, 'x'));
        EXPECT_EQ(file_copy(P(root / "file"), P(root / "other")), 1);
        EXPECT_TRUE(read_text(root / "other") == content) << size;
    }
    // A file whose size says nothing, and one that takes nothing.
    EXPECT_EQ(file_copy(P("/proc/version"), P(root / "version")), 1);
    EXPECT_EQ(read_text(root / "version"), read_text("/proc/version"));
    EXPECT_EQ(file_copy(P("/proc/version"), P("/dev/full")), 1);
}

// A zero byte ends a path.
TEST_F(Files, PathsMayFillTheScratchMemoryToItsLastByte) {
    const auto padded = [this](const char* name) {
        std::string path = (root / name).native();
        path.resize(16384, '\0');
        return path;
    };
    std::string file = padded("file"), target = padded("new");
    EXPECT_EQ(file_exists({file.data(), 16384}), 0);
    EXPECT_EQ(file_exists({file.data(), 16383}), 1);
    EXPECT_EQ(temporary_pos, 16384);
    EXPECT_EQ(file_copy({file.data(), 8191}, {target.data(), 8192}), 0);
    EXPECT_EQ(file_rename({file.data(), 8191}, {target.data(), 8191}), 1);
    EXPECT_EQ(temporary_pos, 16384);
    EXPECT_EQ(read_text(root / "new"), "content");
}

// Names are the bytes that they consist of, valid UTF-8 or not.
TEST_F(Files, NamesOfEveryKindGoOutAndComeBackByteByByte) {
    for (const std::string& name : {std::string("*?\\%s~\nC:"), std::string("\xED\xA0\x80 cut\xE4"),
                                    std::string("\xF0\x9F\x98\x80"), std::string(255, 'n')}) {
        SCOPED_TRACE(testing::PrintToString(name));
        const P path(root / "empty" / name);
        ASSERT_EQ(file_create(path), 1);
        EXPECT_TRUE(fs::exists(root / "empty" / name));
        EXPECT_EQ(names_in(content_of(root / "empty").files), std::set{name});
        EXPECT_EQ(file_delete(path), 1);
    }
}

} // namespace
