// Rewrites that fail because a call fails or a disk is full or read-only.
#include "tests/platform/failing_rewrite.h"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <string>

#include "tests/platform/child_process.h"
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
    {"attributes' names not read", EIO, "flistxattr", 1},
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

FOR_EACH_REWRITTEN_FILE(FailingRewrite);

TEST_P(FailingRewrite, LeavesTheOldTextWhenAnyCallBeforeTheRenameFails) {
    for (const FailingCall& failing : calls_before_the_rename) {
        SCOPED_TRACE(failing.reason);
        const Change change = prepare_anew();
        failures[failing.call] = always_after(failing.calls_before, failing.error);
        expect_failure(change, failing.error);
        expect_change();
    }
}

TEST_P(FailingRewrite, LeavesTheOldTextWhenTheDiskIsFullAtAnyByte) {
    for (const auto& [reason, disk] : full_disks) {
        SCOPED_TRACE(reason);
        const Change change = prepare_anew();
        overrides.full_disk = disk;
        expect_failure(change, disk.error);
        expect_change();
    }
}

TEST_P(FailingRewrite, LeavesTheOldTextWhenOwnerOrGroupCannotBeSet) {
    const Change change = GetParam().prepare();
    const struct stat state = state_of(GetParam().path);
    for (const uid_t user : {state.st_uid, state.st_uid + 1}) {
        overrides.owner = system_calls::OwnedFile{.file = state.st_ino, .user = user, .group = 5678};
        failures["fchown"] = {EROFS};
        expect_failure(change, EROFS);
    }
    expect_change();
}

TEST_P(FailingRewrite, IsReportedWhenTheFolderCannotBeFlushedAlthoughTheChangeIsMade) {
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

TEST_P(FailingRewrite, ContinuesAfterAnInterruptedWaitForTheLock) {
    const Change change = GetParam().prepare();
    failures["flock"] = times(3, EINTR);
    EXPECT_EQ(change(), 0);
    EXPECT_EQ(failing_calls::reset(), "");
    expect_rewritten();
}

// The file system has a few pages, and fewer of them free than the new text needs.
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

// The file system has room for one more file, which is the lock.
TEST_P(FailingRewrite, LeavesTheOldTextOnADiskWithoutFreeInodes) {
    const Mount disk("disk", GetParam().folder(), "tmpfs", 0, "nr_inodes=3");
    write_file(GetParam().path, GetParam().before);
    names_before_ = names_in(GetParam().folder());
    expect_failure(GetParam().prepare(), ENOSPC);
}

// A mount point cannot be replaced.
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

TEST_P(FailingRewrite, ReleasesTheLock) {
    const Change change = GetParam().prepare();
    failures["fsync file"] = {EIO};
    EXPECT_EQ(change(), GetParam().failure(EIO));
    system_calls::reset();
    EXPECT_TRUE(succeeds_in_child([&] { EXPECT_EQ(GetParam().change(), 0); }));
    expect_rewritten();
}
