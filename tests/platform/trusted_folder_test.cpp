// Folders that are opened without following links that other users can have made.
#include "platform/library/trusted_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/library/put_back.h"
#include "tests/support/test_files.h"

namespace {

using platform_library::open_folder;
using platform_library::OpenFolder;
using platform_library::untrusted_link;

class TrustedFolder : public testing::Test {
  protected:
    TrustedFolder() { make_folder(folder_.path("real/below")); }

    void expect_opened(const std::string& path, const std::string& expected) const {
        const OpenFolder opened = open_folder(folder_.path(path));
        ASSERT_TRUE(opened.descriptor.valid()) << path << ": " << strerror(errno);
        EXPECT_EQ(opened.path, folder_.path(expected)) << path;
        struct stat state {};
        struct stat state_of_path {};
        ASSERT_EQ(fstat(opened.descriptor.get(), &state), 0);
        ASSERT_EQ(stat(opened.path.c_str(), &state_of_path), 0);
        EXPECT_EQ(state.st_ino, state_of_path.st_ino);
    }

    void expect_error(const std::string& path, int error, const std::string& failed) const {
        const OpenFolder opened = open_folder(folder_.path(path));
        EXPECT_EQ(errno, error) << path;
        EXPECT_FALSE(opened.descriptor.valid()) << path;
        EXPECT_EQ(opened.path, folder_.path(failed));
    }

    ScratchFolder folder_;
};

TEST_F(TrustedFolder, IsOpenedByAPathOfAnyForm) {
    expect_opened("real/below", "real/below");
    expect_opened("real/below/", "real/below");
    expect_opened("/real//./below/../below/.", "real/below");
}

TEST_F(TrustedFolder, IsTheRootFolder) {
    for (const char* path : {"/", "/..", "/tmp/.."}) {
        const OpenFolder opened = open_folder(path);
        EXPECT_TRUE(opened.descriptor.valid());
        EXPECT_EQ(opened.path, "");
    }
}

TEST_F(TrustedFolder, IsReachedThroughLinksInFoldersThatOnlyThisUserCanWrite) {
    make_link("real", folder_.path("relative"));
    make_link("../relative/../real/below", folder_.path("real/upwards"));
    make_link(folder_.path("real/"), folder_.path("absolute"));
    expect_opened("relative/below", "real/below");
    expect_opened("real/upwards", "real/below");
    expect_opened("absolute/upwards/..", "real");
}

TEST_F(TrustedFolder, IsNotReachedThroughALinkThatOthersCanHaveMade) {
    make_link("below", folder_.path("real/link"));
    make_link("real/link", folder_.path("outer"));
    for (const unsigned mode : {0775U, 0757U, 01777U}) {
        set_mode(folder_.path("real"), mode);
        expect_error("real/link", untrusted_link, "real/link");
        expect_error("outer", untrusted_link, "real/link");
        expect_opened("real/below", "real/below");
    }
}

TEST_F(TrustedFolder, IsNotReachedThroughALinkInTheFolderOfAnotherUser) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    make_link("below", folder_.path("real/link"));
    ASSERT_EQ(chown(folder_.path("real").c_str(), 1234, 1234), 0);
    expect_error("real/link", untrusted_link, "real/link");
}

TEST_F(TrustedFolder, IsNotFoundWhenThePathLeadsToNoFolder) {
    write_file(folder_.path("file"), "");
    make_link("nowhere", folder_.path("dangling"));
    make_link("loop", folder_.path("loop"));
    expect_error("file/below", ENOTDIR, "file");
    expect_error("missing/below", ENOENT, "missing");
    expect_error("dangling", ENOENT, "nowhere");
    expect_error("loop", ELOOP, "loop");
}

TEST_F(TrustedFolder, IsNeededToPutAFileBack) {
    make_folder(folder_.path("elsewhere"));
    make_link(folder_.path("elsewhere"), folder_.path("real/link"));
    set_mode(folder_.path("real"), 0777);
    const std::string path = folder_.path("real/link/file");
    const platform_library::WholeFile file = {
        .text = "", .mode = 0600, .owner = geteuid(), .group = getegid(), .attributes = {}};
    EXPECT_EQ(platform_library::put_file(path, file), untrusted_link);
    EXPECT_EQ(platform_library::put_link(path, "target"), untrusted_link);
    EXPECT_EQ(platform_library::remove_file(path), untrusted_link);
    EXPECT_FALSE(exists(folder_.path("elsewhere/file.lock")));
}

}  // namespace
