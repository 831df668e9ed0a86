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

// As the kernel does it; on kernels and file systems that don't know the exclusive move; on those
// that know no links either; and between two file systems.
TEST_F(Files, MoveTheNameItselfWholeAndNeverReplaceOrCrossKinds) {
    const std::pair<int, int> systems[] = {
        {0, 0}, {EINVAL, 0}, {ENOSYS, 0}, {EINVAL, EPERM}, {EXDEV, 0}};
    const std::set<std::string> directories = {"directory", "empty", "directory_link"};
    const char* const names[] = {"file", "hard",           "other", "link",      "dangling",
                                 "fifo", "directory_link", "empty", "directory", "missing"};
    const timespec times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
    write_text(root / "other", std::string(300000, 'c'));
    chmod((root / "other").c_str(), 04751);
    utimensat(AT_FDCWD, (root / "other").c_str(), times, 0);
    const auto before = snapshot(root);
    for (const auto& [rename_error, link_error] : systems) {
        rename_answer = rename_error;
        link_answer = link_error;
        EXPECT_EQ(directory_rename(P(root / "directory"), P(root / "directory/self")), 0);
        for (const auto rename : {file_rename, directory_rename}) {
            for (const std::string name : names) {
                const bool is_directory = directories.count(name) != 0;
                const bool moves = name != "missing" &&
                                   is_directory == (rename == directory_rename) &&
                                   (rename_error != EXDEV || !(is_directory || name == "fifo"));
                SCOPED_TRACE(std::to_string(rename_error) + ": " + name);
                for (const char* const taken :
                     {"file", "hard", "other", "directory", "empty", "link", "fifo",
                      "directory_link", "dangling", "file/new", "missing/new"}) {
                    EXPECT_EQ(rename(P(root / name), P(root / taken)), 0) << "to " << taken;
                }
                ASSERT_EQ(snapshot(root), before);
                ASSERT_EQ(rename(P(root / name), P(root / "new")), moves);
                if (!moves) continue;
                EXPECT_EQ(snapshot(root)[root / "new"], before.at(root / name));
                ASSERT_EQ(rename(P(root / "new"), P(root / name)), 1);
                ASSERT_EQ(snapshot(root), before);
            }
        }
        EXPECT_EQ(fs::equivalent(root / "file", root / "hard"), rename_error != EXDEV);
    }
    rename_answer = 0;
}
