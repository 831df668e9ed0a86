// SPDX-License-Identifier: Zlib
#include "support/files.h"

#include <algorithm>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

// These calls stand in for the C library's, so that a test can be on a system that answers
// otherwise. With nothing set they go on to the kernel.
static int rename_answer = 0;
static int link_answer = 0;
static std::string kept_path;

extern "C" int renameat2(int from_place, const char* from, int to_place, const char* to,
                         unsigned flags) noexcept {
    if (rename_answer == 0) {
        return static_cast<int>(syscall(SYS_renameat2, from_place, from, to_place, to, flags));
    }
    errno = rename_answer;
    return -1;
}

extern "C" int linkat(int from_place, const char* from, int to_place, const char* to,
                      int flags) noexcept {
    if (link_answer == 0) {
        return static_cast<int>(syscall(SYS_linkat, from_place, from, to_place, to, flags));
    }
    errno = link_answer;
    return -1;
}

extern "C" int unlink(const char* path) noexcept {
    if (path != kept_path) return unlinkat(AT_FDCWD, path, 0);
    errno = EPERM;
    return -1;
}

namespace {

class Renames : public Files {
protected:
    void TearDown() override {
        rename_answer = 0;
        link_answer = 0;
        kept_path.clear();
        Files::TearDown();
    }
};

// As the kernel does it; on kernels and file systems that don't know the exclusive move; and on
// those that know no links either.
constexpr struct {
    int rename, link;
} systems[] = {{0, 0}, {EINVAL, 0}, {ENOSYS, 0}, {EINVAL, EPERM}};

TEST_F(Renames, NeverReplaceAndNeverCrossKinds) {
    make_one_of_each();
    const auto before = snapshot(root);
    const char* const taken[] = {"file",     "hard",     "other",      "directory",
                                 "empty",    "link",     "fifo",       "directory_link",
                                 "dangling", "file/new", "missing/new"};
    for (const auto& system : systems) {
        rename_answer = system.rename;
        link_answer = system.link;
        const auto refused = [&](b8 (*rename)(Slice, Slice), const char* from, const char* to) {
            EXPECT_EQ(rename(P(root / from), P(root / to)), 0);
            EXPECT_EQ(snapshot(root), before) << system.rename << ": " << from << " to " << to;
        };
        for (const char* const to : taken) {
            for (const char* const from : {"file", "link", "dangling", "fifo", "hard"}) {
                refused(file_rename, from, to);
            }
            for (const char* const from : {"directory", "empty", "directory_link"}) {
                refused(directory_rename, from, to);
            }
        }
        for (const char* const from : {"directory", "empty", "directory_link", "missing"}) {
            refused(file_rename, from, "new");
        }
        for (const char* const from : {"file", "hard", "link", "dangling", "fifo", "missing"}) {
            refused(directory_rename, from, "new");
        }
        refused(directory_rename, "directory", "directory/into_itself");
        if (system.rename == 0 || system.link != 0) continue;
        // The new name is made ahead of the old one's end, which the system refuses.
        kept_path = (root / "file").native();
        refused(file_rename, "file", "new");
        kept_path.clear();
    }
}

TEST_F(Renames, MoveTheNameItselfAndBack) {
    make_one_of_each();
    const auto before = snapshot(root);
    for (const auto& system : systems) {
        rename_answer = system.rename;
        link_answer = system.link;
        const auto moves = [&](b8 (*rename)(Slice, Slice), const char* name) {
            SCOPED_TRACE(testing::Message() << system.rename << ": " << name);
            const fs::path from = root / name;
            const fs::path to = root / "moved";
            EXPECT_EQ(rename(P(from), P(to)), 1);
            EXPECT_FALSE(fs::exists(fs::symlink_status(from)));
            EXPECT_EQ(snapshot(root)[to.native()], before.at(from.native()));
            EXPECT_EQ(rename(P(to), P(from)), 1);
            EXPECT_EQ(snapshot(root), before);
        };
        for (const char* const name : {"file", "hard", "link", "dangling", "fifo"}) {
            moves(file_rename, name);
        }
        for (const char* const name : {"directory", "empty", "directory_link"}) {
            moves(directory_rename, name);
        }
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
        descriptors = open_descriptors();
        make_one_of_each();
        write_text(away / "taken", "taken");
        fs::create_symlink("nothing", away / "dangling");
        fs::create_directory(away / "directory");
    }
    void TearDown() override {
        if (!away.empty()) {
            EXPECT_EQ(open_descriptors(), descriptors);
            fs::remove_all(away);
        }
        Renames::TearDown();
    }
    fs::path away;
    int descriptors = 0;
};

TEST_F(TwoFileSystems, FilesMoveWithContentModeAndTimesAndLinksAsLinks) {
    const std::string content(300000, 'c');
    for (const int answer : {0, ENOSYS}) {
        rename_answer = answer;
        write_text(root / "from", content);
        chmod((root / "from").c_str(), 04751);
        const timespec times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
        utimensat(AT_FDCWD, (root / "from").c_str(), times, 0);
        ASSERT_EQ(file_rename(P(root / "from"), P(away / "to")), 1);
        EXPECT_FALSE(fs::exists(root / "from"));
        EXPECT_EQ(read_text(away / "to"), content);
        struct stat status;
        stat((away / "to").c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777, 04751u);
        EXPECT_EQ(status.st_mtim.tv_sec, times[1].tv_sec);
        EXPECT_EQ(status.st_mtim.tv_nsec, times[1].tv_nsec);
        fs::remove(away / "to");

        fs::create_symlink("file", root / "moving");
        EXPECT_EQ(file_rename(P(root / "moving"), P(away / "link")), 1);
        EXPECT_FALSE(fs::is_symlink(root / "moving"));
        EXPECT_EQ(fs::read_symlink(away / "link"), "file");
        EXPECT_EQ(read_text(root / "file"), "content");
        fs::remove(away / "link");
    }
}

TEST_F(TwoFileSystems, WhatCannotMoveStaysWholeAndLeavesNothingBehind) {
    write_text(root / "large", std::string(300000, 'c'));
    const auto here = snapshot(root);
    const auto there = snapshot(away);
    const struct {
        b8 (*rename)(Slice, Slice);
        const char* from;
        const char* to;
        bool kept = false; // the system refuses to remove the source
        rlim_t longest_file = RLIM_INFINITY;
    } cases[] = {{file_rename, "file", "taken"},
                 {file_rename, "file", "dangling"},
                 {file_rename, "file", "directory"},
                 {file_rename, "file", "missing/new"},
                 {file_rename, "link", "taken"},
                 {file_rename, "link", "dangling"},
                 {file_rename, "fifo", "new"},
                 {file_rename, "directory", "new"},
                 {directory_rename, "directory", "new"},
                 {directory_rename, "empty", "directory"},
                 {file_rename, "file", "new", true},
                 {file_rename, "link", "new", true},
                 {file_rename, "large", "new", false, 100000}};
    rlimit whole;
    getrlimit(RLIMIT_FSIZE, &whole);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.from << " to " << c.to);
        kept_path = c.kept ? (root / c.from).native() : "";
        const rlimit limit = {std::min(c.longest_file, whole.rlim_cur), whole.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        const b8 moved = c.rename(P(root / c.from), P(away / c.to));
        setrlimit(RLIMIT_FSIZE, &whole);
        EXPECT_EQ(moved, 0);
        EXPECT_EQ(snapshot(root), here);
        EXPECT_EQ(snapshot(away), there);
    }
    std::signal(SIGXFSZ, handler);
}

} // namespace
