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
#include "tests/support/failing_calls.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

using failing_calls::always_after;
using failing_calls::failures;
using failing_calls::times;
using system_calls::overrides;

namespace {

struct FailingCall {
    const char* reason;
    int error;
    const char* call;
    std::size_t calls_before = 0;
};

const FailingCall calls_before_the_rename[] = {
    {"name not locked", ENOLCK, "flock"},
    {"old file not examined", EIO, "fstat"},
    {"old file not read", EIO, "read"},
    {"new file not examined", EIO, "fstat", 1},
    {"disk full at once", ENOSPC, "write"},
    {"file not flushed", EIO, "fsync file"},
    {"disk full when flushed", ENOSPC, "fsync file"},
    {"attributes not listed", EIO, "flistxattr"},
    {"listed attributes not told", EIO, "flistxattr", 1},
    {"new file's attributes not listed", EIO, "flistxattr", 2},
    {"attribute not given", EPERM, "fsetxattr"},
    {"no room for an attribute", ENOSPC, "fsetxattr"},
    {"mode not given", EPERM, "fchmod"},
    {"name busy", EBUSY, "rename"},
    {"name on another file system", EXDEV, "rename"},
    {"folder read-only", EROFS, "rename"},
    {"rename not permitted", EPERM, "rename"},
};

struct NamedDisk {
    const char* reason;
    system_calls::FullDisk disk;
};

const NamedDisk full_disks[] = {
    {"disk full after a byte", {.space = 1, .error = ENOSPC}},
    {"disk full before the last byte", {.space = 40, .error = ENOSPC}},
    {"quota exceeded", {.space = 10, .error = EDQUOT}},
    {"file too big", {.space = 10, .error = EFBIG}},
};

// Uses a call that no test makes fail.
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
    // Prepares the change of the file as it is before it, with an attribute.
    static Change prepare_anew() {
        write_file(GetParam().path, GetParam().before);
        EXPECT_EQ(setxattr(GetParam().path.c_str(), "user.note", "kept", 4, 0), 0);
        return GetParam().prepare();
    }

    // Makes the change, and expects that it fails with the error and changes nothing.
    void expect_failure(const Change& change, int error) const {
        const struct stat before = state_of(GetParam().path);
        EXPECT_EQ(change(), GetParam().failure(error));
        EXPECT_EQ(failing_calls::reset(), "");
        system_calls::reset();
        EXPECT_EQ(state_of(GetParam().path).st_ino, before.st_ino);
        EXPECT_EQ(state_of(GetParam().path).st_mode, before.st_mode);
        expect_text(GetParam().before);
        expect_nothing_left_behind();
    }
};
FOR_EACH_REWRITTEN_FILE(FailingRewrite);

TEST_P(FailingRewrite, LeavesTheOldTextWhereverItFailsBeforeTheRename) {
    for (const FailingCall& failing : calls_before_the_rename) {
        SCOPED_TRACE(failing.reason);
        const Change change = prepare_anew();
        failures[failing.call] = always_after(failing.calls_before, failing.error);
        expect_failure(change, failing.error);
        expect_change();
    }
}

TEST_P(FailingRewrite, LeavesTheOldTextWhereverTheDiskIsFull) {
    for (const auto& [reason, disk] : full_disks) {
        SCOPED_TRACE(reason);
        const Change change = prepare_anew();
        overrides.full_disk = disk;
        expect_failure(change, disk.error);
        expect_change();
    }
}

TEST_P(FailingRewrite, LeavesTheOldTextWhenTheOwnerOrTheGroupCannotBeGiven) {
    const Change change = GetParam().prepare();
    const struct stat state = state_of(GetParam().path);
    for (const uid_t user : {state.st_uid, state.st_uid + 1}) {
        overrides.owner = system_calls::OwnedFile{.file = state.st_ino, .user = user, .group = 5678};
        failures["fchown"] = {EROFS};
        expect_failure(change, EROFS);
    }
    expect_change();
}

TEST_P(FailingRewrite, IsOneWhenTheFolderCannotBeFlushedThoughTheChangeStands) {
    for (const int error : {EIO, ENOSPC}) {
        write_file(GetParam().path, GetParam().before);
        const Change change = GetParam().prepare();
        failures["fsync folder"] = {error};
        EXPECT_EQ(change(), GetParam().failure(error));
        system_calls::reset();
        expect_rewritten();
        expect_nothing_left_behind();
    }
}

TEST_P(FailingRewrite, GoesOnAfterAnInterruptedWaitForTheLock) {
    const Change change = GetParam().prepare();
    failures["flock"] = times(3, EINTR);
    EXPECT_EQ(change(), 0);
    EXPECT_EQ(failing_calls::reset(), "");
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
    overrides.before_call = [&](const std::string& call) {
        if (call == "lock" && ++locks == 2) {  // the link's own name comes first
            remove_tree("/opt/site/settings");
            make_link("/opt/site/other", "/opt/site/settings");
        }
    };
    EXPECT_EQ(change(), GetParam().failure(ELOOP));
    system_calls::reset();
    EXPECT_EQ(locks, 2);
    EXPECT_EQ(read_file("/opt/site/other"), GetParam().before);
}

TEST_P(FailingRewrite, LeavesTheLockFree) {
    const Change change = GetParam().prepare();
    failures["fsync file"] = {EIO};
    EXPECT_EQ(change(), GetParam().failure(EIO));
    system_calls::reset();
    EXPECT_TRUE(succeeds_in_child([&] { EXPECT_EQ(GetParam().change(), 0); }));
    expect_rewritten();
}
