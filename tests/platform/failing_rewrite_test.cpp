// Rewrites that fail leave the old text and nothing else.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tests/platform/child_process.h"
#include "tests/platform/rewritten_file.h"
#include "tests/platform/system_calls.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

using system_calls::faults;
using system_calls::Faults;

namespace {

struct Fault {
    const char* name;
    int error;
    int Faults::*number;
    std::size_t bytes_before_that = 0;
    int calls_before_that = 0;
};

const Fault faults_before_the_rename[] = {
    {"name not locked", ENOLCK, &Faults::name_not_locked},
    {"old file not examined", EIO, &Faults::file_not_examined},
    {"old file not read", EIO, &Faults::file_not_read},
    {"new file not examined", EIO, &Faults::file_not_examined, 0, 1},
    {"disk full at once", ENOSPC, &Faults::file_not_written},
    {"disk full after a byte", ENOSPC, &Faults::file_not_written, 1},
    {"disk full before the last byte", ENOSPC, &Faults::file_not_written, 40},
    {"quota exceeded", EDQUOT, &Faults::file_not_written, 10},
    {"file too big", EFBIG, &Faults::file_not_written, 10},
    {"file not flushed", EIO, &Faults::file_not_flushed},
    {"disk full when flushed", ENOSPC, &Faults::file_not_flushed},
    {"attributes not listed", EIO, &Faults::attributes_not_listed},
    {"listed attributes not told", EIO, &Faults::attributes_not_listed, 0, 1},
    {"new file's attributes not listed", EIO, &Faults::attributes_not_listed, 0, 2},
    {"attribute not given", EPERM, &Faults::attribute_not_given},
    {"no room for an attribute", ENOSPC, &Faults::attribute_not_given},
    {"mode not given", EPERM, &Faults::mode_not_given},
    {"name busy", EBUSY, &Faults::file_not_renamed},
    {"name on another file system", EXDEV, &Faults::file_not_renamed},
    {"folder read-only", EROFS, &Faults::file_not_renamed},
    {"rename not permitted", EPERM, &Faults::file_not_renamed},
};

// By a call that no fault fails.
struct stat state_of(const std::string& path) {
    struct stat state {};
    EXPECT_EQ(fstatat(AT_FDCWD, path.c_str(), &state, AT_SYMLINK_NOFOLLOW), 0);
    return state;
}

// A file system of its own, over a folder.
class Mount {
  public:
    Mount(const std::string& source, std::string target, const char* type, unsigned long flags, const char* options)
        : target_(std::move(target)) {
        if (mount(source.c_str(), target_.c_str(), type, flags, options) != 0) {
            ADD_FAILURE() << "mount on " << target_ << ": error " << errno;
        }
    }
    ~Mount() { umount2(target_.c_str(), MNT_DETACH); }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

  private:
    std::string target_;
};

}  // namespace

class FailingRewrite : public RewriteTest {
  protected:
    // Carries the change out, of which the test expects that it fails so and changes nothing.
    void expect_failure(const Change& change, int error) const {
        const struct stat before = state_of(GetParam().path);
        EXPECT_EQ(change(), GetParam().failure(error));
        faults = Faults();
        EXPECT_EQ(state_of(GetParam().path).st_ino, before.st_ino);
        EXPECT_EQ(state_of(GetParam().path).st_mode, before.st_mode);
        expect_text(GetParam().before);
        expect_nothing_left_behind();
    }
};
FOR_EACH_REWRITTEN_FILE(FailingRewrite);

TEST_P(FailingRewrite, LeavesTheOldTextWhereverItFailsBeforeTheRename) {
    for (const Fault& fault : faults_before_the_rename) {
        SCOPED_TRACE(fault.name);
        write_file(GetParam().path, GetParam().before);
        ASSERT_EQ(setxattr(GetParam().path.c_str(), "user.note", "kept", 4, 0), 0);
        const Change change = GetParam().prepare();
        faults.*fault.number = fault.error;
        faults.bytes_before_that = fault.bytes_before_that;
        faults.examinations_before_that = fault.calls_before_that;
        faults.list_queries_before_that = fault.calls_before_that;
        expect_failure(change, fault.error);
        expect_change();
    }
}

TEST_P(FailingRewrite, LeavesTheOldTextWhenTheOwnerOrTheGroupCannotBeGiven) {
    const Change change = GetParam().prepare();
    const struct stat state = state_of(GetParam().path);
    for (const uid_t user : {state.st_uid, state.st_uid + 1}) {
        faults.pretended_owner = system_calls::OwnedFile{.file = state.st_ino, .user = user, .group = 5678};
        faults.owner_not_given = EROFS;
        expect_failure(change, EROFS);
    }
    expect_change();
}

TEST_P(FailingRewrite, IsOneWhenTheFolderCannotBeFlushedThoughTheChangeStands) {
    for (const int error : {EIO, ENOSPC}) {
        write_file(GetParam().path, GetParam().before);
        const Change change = GetParam().prepare();
        faults.folder_not_flushed = error;
        EXPECT_EQ(change(), GetParam().failure(error));
        faults = Faults();
        expect_rewritten();
        expect_nothing_left_behind();
    }
}

TEST_P(FailingRewrite, GoesOnAfterAnInterruptedWaitForTheLock) {
    const Change change = GetParam().prepare();
    faults.locks_interrupted = 3;
    EXPECT_EQ(change(), 0);
    EXPECT_EQ(faults.locks_interrupted, 0);
    expect_rewritten();
}

// A file system of a few pages, full but for less than the new text takes.
TEST_P(FailingRewrite, LeavesTheOldTextOnAFullDisk) {
    {
        const Mount disk("disk", GetParam().folder(), "tmpfs", 0, "size=64k");
        std::string text = GetParam().before;
        text.resize(20'000, '#');
        text += '\n';
        write_file(GetParam().path, text);
        write_file(GetParam().lock(), "");
        write_file(GetParam().folder() + "/ballast", std::string(30'000, 'x'));
        EXPECT_EQ(GetParam().change(), GetParam().failure(ENOSPC));
        expect_text(text);
        const std::vector<std::string> names = names_in(GetParam().folder());
        EXPECT_EQ(names.size(), 3U) << testing::PrintToString(names);
        remove_tree(GetParam().folder() + "/ballast");
        EXPECT_EQ(GetParam().change(), 0);
        EXPECT_NE(read_file(GetParam().path), text);
    }
    expect_text(GetParam().before);
}

// A file system of as many files as there are and one more, which the lock takes.
TEST_P(FailingRewrite, LeavesTheOldTextOnADiskThatTakesNoMoreFiles) {
    const Mount disk("disk", GetParam().folder(), "tmpfs", 0, "nr_inodes=3");
    write_file(GetParam().path, GetParam().before);
    names_before_ = names_in(GetParam().folder());
    expect_failure(GetParam().prepare(), ENOSPC);
}

// What is mounted cannot be replaced.
TEST_P(FailingRewrite, LeavesTheOldTextOfAFileThatIsMounted) {
    const Change change = GetParam().prepare();
    {
        const Mount mounted(GetParam().path, GetParam().path, nullptr, MS_BIND, nullptr);
        expect_failure(change, EBUSY);
    }
    expect_change();
}

TEST_P(FailingRewrite, LeavesTheOldTextOnAReadOnlyDisk) {
    const Change change = GetParam().prepare();
    {
        const Mount disk(GetParam().folder(), GetParam().folder(), nullptr, MS_BIND, nullptr);
        ASSERT_EQ(mount(nullptr, GetParam().folder().c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
        EXPECT_EQ(change(), GetParam().failure(EROFS));
        expect_text(GetParam().before);
        EXPECT_EQ(names_in(GetParam().folder()), names_before_);
    }
    expect_change();
}

TEST_P(FailingRewrite, LeavesTheOldTextInAFolderThatMayNotBeWritten) {
    for (const bool lock_is_there : {false, true}) {
        if (lock_is_there) {
            write_file(GetParam().lock(), "");
        }
        set_mode(GetParam().folder(), 0555);
        EXPECT_TRUE(succeeds_in_child([&] {
            give_up_file_rights();
            EXPECT_EQ(GetParam().change(), GetParam().failure(EACCES));
        }));
        set_mode(GetParam().folder(), 0755);
        expect_text(GetParam().before);
    }
    expect_nothing_left_behind();
}

// Whoever may not list a folder cannot flush it either.
TEST_P(FailingRewrite, LeavesTheOldTextInAFolderThatMayNotBeListed) {
    const Change change = GetParam().prepare();
    set_mode(GetParam().folder(), 0333);
    EXPECT_TRUE(succeeds_in_child([&] {
        give_up_file_rights();
        EXPECT_EQ(change(), GetParam().failure(EACCES));
    }));
    set_mode(GetParam().folder(), 0755);
    expect_text(GetParam().before);
    expect_nothing_left_behind();
}

// A file that stays as it is needs no right but to be found, to be read and to be locked.
TEST_P(FailingRewrite, IsNoneWhereNothingIsToBeChangedInAFolderThatMayNotBeListed) {
    expect_change();
    const struct stat before = state_of(GetParam().path);
    const Change change = GetParam().prepare();
    set_mode(GetParam().folder(), 0111);
    EXPECT_TRUE(succeeds_in_child([&] {
        give_up_file_rights();
        EXPECT_EQ(change(), 0);
    }));
    set_mode(GetParam().folder(), 0755);
    EXPECT_EQ(state_of(GetParam().path).st_ino, before.st_ino);
    expect_rewritten();
    expect_nothing_left_behind();
}

TEST_P(FailingRewrite, LeavesAFileThatMayNotBeRead) {
    const Change change = GetParam().prepare();
    set_mode(GetParam().path, 0);
    EXPECT_TRUE(succeeds_in_child([&] {
        give_up_file_rights();
        EXPECT_EQ(change(), GetParam().failure(EACCES));
    }));
    EXPECT_EQ(mode_of(GetParam().path), 0U);
    set_mode(GetParam().path, 0644);
    expect_text(GetParam().before);
    expect_nothing_left_behind();
}

TEST_P(FailingRewrite, CreatesNoFolder) {
    const Change change = GetParam().prepare();
    remove_tree(GetParam().folder());
    EXPECT_EQ(change(), GetParam().failure(ENOENT));
    EXPECT_FALSE(exists(GetParam().folder()));
}

TEST_P(FailingRewrite, CreatesNoFile) {
    const Change change = GetParam().prepare();
    remove_tree(GetParam().path);
    EXPECT_EQ(change(), GetParam().failure(ENOENT));
    EXPECT_FALSE(exists(GetParam().path));
}

TEST_P(FailingRewrite, LeavesAFolderOfTheName) {
    const Change change = GetParam().prepare();
    remove_tree(GetParam().path);
    write_file(GetParam().path + "/file", "kept");
    EXPECT_EQ(change(), GetParam().failure(EISDIR));
    EXPECT_EQ(read_file(GetParam().path + "/file"), "kept");
    expect_nothing_left_behind();
}

// Nobody writes to it, so a rewrite that opened it as a file would wait for ever.
TEST_P(FailingRewrite, LeavesAFifoOfTheName) {
    const Change change = GetParam().prepare();
    remove_tree(GetParam().path);
    ASSERT_EQ(mkfifo(GetParam().path.c_str(), 0600), 0);
    EXPECT_NE(change(), 0);
    EXPECT_TRUE(S_ISFIFO(state_of(GetParam().path).st_mode));
    expect_nothing_left_behind();
}

TEST_P(FailingRewrite, LeavesALinkThatLeadsNowhere) {
    struct Row {
        const char* target;
        int error;
    };
    const Change change = GetParam().prepare();
    for (const Row& row : {Row{"/opt/missing", ENOENT}, Row{"missing", ENOENT}, Row{"/opt/missing/file", ENOENT}}) {
        remove_tree(GetParam().path);
        make_link(row.target, GetParam().path);
        EXPECT_EQ(change(), GetParam().failure(row.error));
        EXPECT_TRUE(S_ISLNK(state_of(GetParam().path).st_mode));
        expect_nothing_left_behind();
        EXPECT_TRUE(names_in("/opt").empty());
    }
    remove_tree(GetParam().path);
    make_link(GetParam().path, GetParam().path);
    EXPECT_EQ(change(), GetParam().failure(ELOOP));
    expect_nothing_left_behind();
}

// Whoever can put a link there does not make files elsewhere with it.
TEST_P(FailingRewrite, FollowsNoLinkInThePlaceOfTheLock) {
    make_folder("/opt/site");
    for (const char* target : {"/opt/site/missing", "/opt/site/there"}) {
        write_file("/opt/site/there", "kept");
        remove_tree(GetParam().lock());
        make_link(target, GetParam().lock());
        EXPECT_EQ(GetParam().change(), GetParam().failure(ELOOP)) << target;
        expect_text(GetParam().before);
        EXPECT_EQ(names_in("/opt/site"), std::vector<std::string>{"there"});
        EXPECT_EQ(read_file("/opt/site/there"), "kept");
    }
}

TEST_P(FailingRewrite, LeavesAFileThatCannotBeLocked) {
    make_folder(GetParam().lock());
    EXPECT_EQ(GetParam().change(), GetParam().failure(EISDIR));
    expect_text(GetParam().before);
    expect_nothing_left_behind();
}

TEST_P(FailingRewrite, LeavesAFileBehindALinkThatCannotBeLocked) {
    const std::string target = "/opt/site/target";
    write_file(target, GetParam().before);
    make_folder(target + ".lock");
    remove_tree(GetParam().path);
    make_link(target, GetParam().path);
    EXPECT_EQ(GetParam().change(), GetParam().failure(EISDIR));
    EXPECT_EQ(read_file(target), GetParam().before);
    EXPECT_EQ(names_in("/opt/site"), (std::vector<std::string>{"target", "target.lock"}));
    expect_nothing_left_behind();
}

// What such a link leads to is not locked.
TEST_P(FailingRewrite, FollowsNoLinkThatTakesTheFilesPlaceWhileItIsLocked) {
    remove_tree(GetParam().path);
    write_file("/opt/site/settings", GetParam().before);
    write_file("/opt/site/other", GetParam().before);
    make_link("/opt/site/settings", GetParam().path);
    const Change change = GetParam().prepare();
    int locks = 0;
    faults.before_call = [&](const std::string& call) {
        if (call == "lock" && ++locks == 2) {  // the link's own name comes first
            remove_tree("/opt/site/settings");
            make_link("/opt/site/other", "/opt/site/settings");
        }
    };
    EXPECT_EQ(change(), GetParam().failure(ELOOP));
    faults = Faults();
    EXPECT_EQ(locks, 2);
    EXPECT_EQ(read_file("/opt/site/other"), GetParam().before);
}

TEST_P(FailingRewrite, LeavesTheLockFree) {
    const Change change = GetParam().prepare();
    faults.file_not_flushed = EIO;
    EXPECT_EQ(change(), GetParam().failure(EIO));
    faults = Faults();
    EXPECT_TRUE(succeeds_in_child([&] { EXPECT_EQ(GetParam().change(), 0); }));
    expect_rewritten();
}
