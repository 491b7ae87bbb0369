// Files that are restored from a copy.
#include "platform/library/put_back.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "platform/library/safe_rewrite.h"
#include "tests/support/test_files.h"

namespace fs = std::filesystem;

namespace {

using platform_library::put_file;
using platform_library::put_link;
using platform_library::remove_file;
using platform_library::rewrite_file;
using platform_library::WholeFile;

class PutBack : public testing::Test {
  protected:
    [[nodiscard]] std::string path() const { return folder_.path() + "/file"; }
    [[nodiscard]] std::string new_path() const { return folder_.path() + "/.file.put"; }

    static WholeFile whole_file(const std::string& text, mode_t mode) {
        return {.text = text, .mode = mode, .owner = geteuid(), .group = getegid(), .attributes = {}};
    }

    ScratchFolder folder_;
};

TEST_F(PutBack, MakesAFileWithTextAndMode) {
    ASSERT_EQ(put_file(path(), whole_file("old\n", 0640)), 0);
    EXPECT_EQ(read_file(path()), "old\n");
    EXPECT_EQ(fs::status(path()).permissions(), fs::perms(0640));
    EXPECT_FALSE(fs::exists(new_path()));
}

TEST_F(PutBack, ReplacesALinkAndNotItsTarget) {
    write_file(folder_.path() + "/target", "target");
    fs::create_symlink("target", path());
    ASSERT_EQ(put_file(path(), whole_file("old", 0644)), 0);
    EXPECT_FALSE(fs::is_symlink(path()));
    EXPECT_EQ(read_file(folder_.path() + "/target"), "target");
}

TEST_F(PutBack, MakesALinkOverAFile) {
    write_file(path(), "now");
    ASSERT_EQ(put_link(path(), "elsewhere"), 0);
    EXPECT_EQ(fs::read_symlink(path()), "elsewhere");
}

TEST_F(PutBack, RemovesAFileThatMayBeMissing) {
    write_file(path(), "now");
    EXPECT_EQ(remove_file(path()), 0);
    EXPECT_FALSE(fs::exists(path()));
    EXPECT_EQ(remove_file(path()), 0);
}

TEST_F(PutBack, RemovesWhatACrashLeft) {
    write_file(new_path(), "half of i");
    ASSERT_EQ(put_file(path(), whole_file("old", 0600)), 0);
    EXPECT_EQ(read_file(path()), "old");
    EXPECT_FALSE(fs::exists(new_path()));
}

TEST_F(PutBack, LeavesADirectoryThatHasTheNewName) {
    write_file(path(), "now");
    fs::create_directory(new_path());
    EXPECT_EQ(put_file(path(), whole_file("old", 0600)), EEXIST);
    EXPECT_TRUE(fs::is_directory(new_path()));
    EXPECT_EQ(read_file(path()), "now");
}

TEST_F(PutBack, LeavesAFileOfSeveralNames) {
    write_file(folder_.path() + "/precious", "precious");
    fs::create_hard_link(folder_.path() + "/precious", new_path());
    EXPECT_EQ(put_file(path(), whole_file("old", 0600)), EEXIST);
    EXPECT_EQ(read_file(new_path()), "precious");
}

TEST_F(PutBack, LeavesAFifo) {
    ASSERT_EQ(mkfifo(new_path().c_str(), 0600), 0);
    EXPECT_EQ(put_link(path(), "elsewhere"), EEXIST);
    EXPECT_TRUE(fs::is_fifo(new_path()));
}

TEST_F(PutBack, LeavesTheFileOfAnotherUser) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "there is nobody to give the file to";
    }
    write_file(new_path(), "theirs");
    ASSERT_EQ(chown(new_path().c_str(), 1, 1), 0);
    EXPECT_EQ(put_file(path(), whole_file("old", 0600)), EEXIST);
    EXPECT_EQ(read_file(new_path()), "theirs");
}

TEST_F(PutBack, DoesNotBlockTheNextRewriteAfterACrash) {
    write_file(path(), "now");
    write_file(new_path(), "old");
    ASSERT_EQ(chmod(new_path().c_str(), 0666), 0);
    EXPECT_EQ(rewrite_file(path(), [](const std::string&) { return "new"; }), 0);
    EXPECT_EQ(read_file(path()), "new");
}

}  // namespace
