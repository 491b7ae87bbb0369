// Rewrites that fail because of permissions, kinds of files, links or locks.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "tests/platform/child_process.h"
#include "tests/platform/failing_rewrite.h"
#include "tests/support/test_files.h"

using system_calls::overrides;

class RefusedRewrite : public FailingRewrite {};
FOR_EACH_REWRITTEN_FILE(RefusedRewrite);

TEST_P(RefusedRewrite, LeavesTheOldTextInAFolderThatMayNotBeWritten) {
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

// A folder that may not be listed cannot be flushed either.
TEST_P(RefusedRewrite, LeavesTheOldTextInAFolderThatMayNotBeListed) {
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

// A file that does not change only has to be found, read and locked.
TEST_P(RefusedRewrite, SucceedsWithoutAChangeInAFolderThatMayNotBeListed) {
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

TEST_P(RefusedRewrite, LeavesAFileThatMayNotBeRead) {
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

TEST_P(RefusedRewrite, CreatesNoFolder) {
    const Change change = GetParam().prepare();
    remove_tree(GetParam().folder());
    EXPECT_EQ(change(), GetParam().failure(ENOENT));
    EXPECT_FALSE(exists(GetParam().folder()));
}

TEST_P(RefusedRewrite, CreatesNoFile) {
    const Change change = GetParam().prepare();
    remove_tree(GetParam().path);
    EXPECT_EQ(change(), GetParam().failure(ENOENT));
    EXPECT_FALSE(exists(GetParam().path));
}

TEST_P(RefusedRewrite, LeavesAFolderWithTheFilesName) {
    const Change change = GetParam().prepare();
    remove_tree(GetParam().path);
    write_file(GetParam().path + "/file", "kept");
    EXPECT_EQ(change(), GetParam().failure(EISDIR));
    EXPECT_EQ(read_file(GetParam().path + "/file"), "kept");
    expect_nothing_left_behind();
}

// Nobody writes to the FIFO, so opening it like a file would wait forever.
TEST_P(RefusedRewrite, LeavesAFifoWithTheFilesName) {
    const Change change = GetParam().prepare();
    remove_tree(GetParam().path);
    ASSERT_EQ(mkfifo(GetParam().path.c_str(), 0600), 0);
    EXPECT_NE(change(), 0);
    EXPECT_TRUE(S_ISFIFO(state_of(GetParam().path).st_mode));
    expect_nothing_left_behind();
}

TEST_P(RefusedRewrite, LeavesADanglingLink) {
    struct DeadLink {
        const char* target;
        int error;
    };
    const Change change = GetParam().prepare();
    for (const DeadLink& row :
         {DeadLink{"/opt/missing", ENOENT}, DeadLink{"missing", ENOENT}, DeadLink{"/opt/missing/file", ENOENT}}) {
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

// Whoever can create a link there cannot create files elsewhere with it.
TEST_P(RefusedRewrite, DoesNotFollowALinkAtTheLocksPath) {
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

TEST_P(RefusedRewrite, LeavesAFileThatCannotBeLocked) {
    make_folder(GetParam().lock());
    EXPECT_EQ(GetParam().change(), GetParam().failure(EISDIR));
    expect_text(GetParam().before);
    expect_nothing_left_behind();
}

TEST_P(RefusedRewrite, LeavesTheTargetOfALinkThatCannotBeLocked) {
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

// The target of such a link is not locked.
TEST_P(RefusedRewrite, DoesNotFollowALinkThatReplacesTheLockedFile) {
    remove_tree(GetParam().path);
    write_file("/opt/site/settings", GetParam().before);
    write_file("/opt/site/other", GetParam().before);
    make_link("/opt/site/settings", GetParam().path);
    const Change change = GetParam().prepare();
    int locks = 0;
    overrides.before_call = [&](const std::string& call) {
        if (call == "lock" && ++locks == 2) {  // the name of the link is locked first
            remove_tree("/opt/site/settings");
            make_link("/opt/site/other", "/opt/site/settings");
        }
    };
    EXPECT_EQ(change(), GetParam().failure(ELOOP));
    system_calls::reset();
    EXPECT_EQ(locks, 2);
    EXPECT_EQ(read_file("/opt/site/other"), GetParam().before);
}
