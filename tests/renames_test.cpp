// SPDX-License-Identifier: Zlib
#include "support/files.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/syscall.h>

// These calls stand in for the C library's, so that a test can be on a system that answers
// otherwise. With nothing set they go on to the kernel.
static int rename_answer = 0;
static int link_answer = 0;

extern "C" int renameat2(int from_place, const char* from, int to_place, const char* to,
                         unsigned flags) noexcept {
    errno = rename_answer;
    if (rename_answer != 0) return -1;
    return static_cast<int>(syscall(SYS_renameat2, from_place, from, to_place, to, flags));
}

extern "C" int linkat(int from_place, const char* from, int to_place, const char* to,
                      int flags) noexcept {
    errno = link_answer;
    if (link_answer != 0) return -1;
    return static_cast<int>(syscall(SYS_linkat, from_place, from, to_place, to, flags));
}

namespace {

// As the kernel does it; on kernels and file systems that don't know the exclusive move; and on
// those that know no links either.
constexpr struct {
    int rename, link;
} systems[] = {{0, 0}, {EINVAL, 0}, {ENOSYS, 0}, {EINVAL, EPERM}};

class Renames : public Files {
protected:
    void TearDown() override {
        rename_answer = 0;
        link_answer = 0;
        Files::TearDown();
    }
};

TEST_F(Renames, MoveTheNameItselfAndNeverReplaceOrCrossKinds) {
    const std::set<std::string> directories = {"directory", "empty", "directory_link"};
    const char* const names[] = {"file",           "hard",  "link",    "dangling", "fifo",
                                 "directory_link", "empty", "missing", "directory"};
    const char* const targets[] = {"file",     "hard", "other",    "directory",
                                   "empty",    "link", "fifo",     "directory_link",
                                   "dangling", "new",  "file/new", "missing/new"};
    const auto before = snapshot(root);
    for (const auto& system : systems) {
        rename_answer = system.rename;
        link_answer = system.link;
        for (const auto rename : {file_rename, directory_rename}) {
            for (const std::string name : names) {
                for (const std::string target : targets) {
                    SCOPED_TRACE(std::to_string(system.rename) + ": " + name + " to " + target);
                    const bool is_right_kind =
                        (rename == directory_rename) == (directories.count(name) != 0);
                    const bool moves = is_right_kind && target == "new" && name != "missing";
                    const fs::path from = root / name, to = root / target;
                    EXPECT_EQ(rename(P(from), P(to)), moves);
                    if (moves) {
                        EXPECT_EQ(snapshot(root)[to.native()], before.at(from.native()));
                        EXPECT_EQ(rename(P(to), P(from)), 1);
                    }
                    ASSERT_EQ(snapshot(root), before);
                }
            }
        }
        EXPECT_EQ(directory_rename(P(root / "directory"), P(root / "directory/self")), 0);
    }
}

// The second file system is one in memory.
class TwoFileSystems : public Renames {
protected:
    void SetUp() override {
        struct stat here, there;
        if (stat("/dev/shm", &there) != 0 || access("/dev/shm", W_OK) != 0) {
            GTEST_SKIP() << "no writable /dev/shm";
        }
        stat(root.c_str(), &here);
        if (here.st_dev == there.st_dev) GTEST_SKIP() << "/dev/shm is where the other files are";
        away = fresh_directory("/dev/shm");
    }
    void TearDown() override {
        if (!away.empty()) fs::remove_all(away);
        Renames::TearDown();
    }
    fs::path away;
};

TEST_F(TwoFileSystems, FilesMoveWithContentModeAndTimesAndLinksAsLinks) {
    const std::string content(300000, 'c');
    const timespec times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
    for (const int answer : {0, ENOSYS}) {
        rename_answer = answer;
        write_text(root / "from", content);
        chmod((root / "from").c_str(), 04751);
        utimensat(AT_FDCWD, (root / "from").c_str(), times, 0);
        fs::create_symlink("file", root / "moving");
        EXPECT_EQ(file_rename(P(root / "from"), P(away / "to")), 1);
        EXPECT_EQ(file_rename(P(root / "moving"), P(away / "link")), 1);
        EXPECT_FALSE(fs::exists(root / "from") || fs::is_symlink(root / "moving"));
        EXPECT_TRUE(read_text(away / "to") == content);
        struct stat status;
        stat((away / "to").c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777, 04751u);
        EXPECT_EQ(status.st_mtim.tv_sec, times[1].tv_sec);
        EXPECT_EQ(status.st_mtim.tv_nsec, times[1].tv_nsec);
        EXPECT_EQ(fs::read_symlink(away / "link"), "file");
        fs::remove(away / "to");
        fs::remove(away / "link");
    }
}

TEST_F(TwoFileSystems, WhatCannotMoveStaysWholeAndLeavesNothingBehind) {
    write_text(away / "taken", "taken");
    fs::create_symlink("nothing", away / "dangling");
    fs::create_directory(away / "directory");
    const auto here = snapshot(root);
    const auto there = snapshot(away);
    const struct {
        b8 (*rename)(Slice, Slice);
        const char* from;
        std::set<const char*> to;
    } cases[] = {{file_rename, "file", {"taken", "dangling", "directory", "missing/new"}},
                 {file_rename, "link", {"taken", "dangling"}},
                 {file_rename, "fifo", {"new"}},
                 {file_rename, "directory", {"new"}},
                 {directory_rename, "directory", {"new"}},
                 {directory_rename, "empty", {"directory"}}};
    for (const auto& c : cases) {
        for (const char* const to : c.to) {
            SCOPED_TRACE(testing::Message() << c.from << " to " << to);
            EXPECT_EQ(c.rename(P(root / c.from), P(away / to)), 0);
            EXPECT_EQ(snapshot(root), here);
            EXPECT_EQ(snapshot(away), there);
        }
    }
}

} // namespace
