// Folders that are made and removed where another user can change names at any moment.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "state_command/failure.h"
#include "state_command/new_folder.h"
#include "state_command/tree.h"
#include "tests/support/test_files.h"

using testing::ElementsAre;

namespace {

// What another user does as soon as a folder has been made.
std::function<void(const std::string& name)> after_making;

// Is called with the path of each file and folder that is flushed.
std::function<void(const std::string& path)> before_flush;

// A file system of its own in the folder.
class Mount {
  public:
    explicit Mount(std::string folder) : folder_(std::move(folder)) {
        EXPECT_EQ(mount("none", folder_.c_str(), "tmpfs", 0, nullptr), 0);
    }
    ~Mount() { umount2(folder_.c_str(), MNT_DETACH); }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

  private:
    std::string folder_;
};

}  // namespace

// Takes the C library's place.
extern "C" int mkdirat(int fd, const char* path, mode_t mode) {
    const long result = syscall(SYS_mkdirat, fd, path, mode);
    if (after_making) {
        const std::function<void(const std::string&)> action = std::exchange(after_making, nullptr);
        action(path);
    }
    return static_cast<int>(result);
}

extern "C" int fsync(int fd) {
    if (before_flush) {
        before_flush(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)));
    }
    return static_cast<int>(syscall(SYS_fsync, fd));
}

class FolderTree : public testing::Test {
  protected:
    ~FolderTree() override {
        after_making = nullptr;
        before_flush = nullptr;
    }

    // Another user moves the new folder away, and something else to its name.
    void swap_for(const std::string& other) {
        after_making = [this, other](const std::string& name) {
            ASSERT_EQ(rename(folder_.path(name).c_str(), folder_.path("moved").c_str()), 0);
            ASSERT_EQ(rename(folder_.path(other).c_str(), folder_.path(name).c_str()), 0);
        };
    }

    ScratchFolder folder_;
    Descriptor parent_{open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(FolderTree, MakesAPrivateFolder) {
    const Descriptor made = make_folder_at(parent_.get(), "new");
    ASSERT_TRUE(made.valid());
    EXPECT_EQ(mode_of(folder_.path("new")), 0700U);
}

TEST_F(FolderTree, RejectsAFolderWithFilesInPlaceOfTheNewOne) {
    write_file(folder_.path("other/file"), "");
    set_mode(folder_.path("other"), 0700);
    swap_for("other");
    EXPECT_FALSE(make_folder_at(parent_.get(), "new").valid());
    EXPECT_EQ(errno, EPERM);
}

TEST_F(FolderTree, RejectsAFolderThatOthersCanReadInPlaceOfTheNewOne) {
    make_folder(folder_.path("other"));
    swap_for("other");
    EXPECT_FALSE(make_folder_at(parent_.get(), "new").valid());
}

TEST_F(FolderTree, RejectsAFolderOfAnotherUserInPlaceOfTheNewOne) {
    if (!namespace_has_several_users()) {
        GTEST_SKIP() << "no other user";
    }
    make_folder(folder_.path("other"));
    set_mode(folder_.path("other"), 0700);
    ASSERT_EQ(chown(folder_.path("other").c_str(), 1234, 1234), 0);
    swap_for("other");
    EXPECT_FALSE(make_folder_at(parent_.get(), "new").valid());
}

TEST_F(FolderTree, RejectsALinkInPlaceOfTheNewFolder) {
    make_folder(folder_.path("target"));
    set_mode(folder_.path("target"), 0700);
    make_link("target", folder_.path("other"));
    swap_for("other");
    EXPECT_FALSE(make_folder_at(parent_.get(), "new").valid());
}

// A save whose folder has been swapped writes nothing into the other one, and removes nothing of it.
TEST_F(FolderTree, OfASaveIsNotAFolderThatAnotherUserPutInItsPlace) {
    write_file(folder_.path("other/manifest"), "of an earlier save");
    set_mode(folder_.path("other"), 0700);
    swap_for("other");
    EXPECT_THROW(NewFolder(folder_.path("case")), Failure);
    EXPECT_THAT(names_in(folder_.path("moved")), ElementsAre());
    const std::vector<std::string> names = names_in(folder_.path());
    ASSERT_THAT(names, ElementsAre(testing::StartsWith(".zmlogstate-"), "moved"));
    EXPECT_EQ(read_file(folder_.path(names[0] + "/manifest")), "of an earlier save");
}

// An unfinished save removes what it has made, wherever another user has moved it, and nothing else.
TEST_F(FolderTree, OfASaveRemovesOnlyItsOwnFiles) {
    write_file(folder_.path("other/manifest"), "of an earlier save");
    {
        NewFolder made(folder_.path("case"));
        made.add_file("manifest", "text");
        const std::vector<std::string> names = names_in(folder_.path());
        ASSERT_THAT(names, ElementsAre(testing::StartsWith(".zmlogstate-"), "other"));
        ASSERT_EQ(rename(folder_.path(names[0]).c_str(), folder_.path("moved").c_str()), 0);
        ASSERT_EQ(rename(folder_.path("other").c_str(), folder_.path(names[0]).c_str()), 0);
    }
    EXPECT_THAT(names_in(folder_.path("moved")), ElementsAre());
    const std::vector<std::string> names = names_in(folder_.path());
    ASSERT_THAT(names, ElementsAre(testing::StartsWith(".zmlogstate-"), "moved"));
    EXPECT_EQ(read_file(folder_.path(names[0] + "/manifest")), "of an earlier save");
}

TEST_F(FolderTree, KeepsWhatIsMountedInIt) {
    make_folder(folder_.path("tree/empty/mounted"));
    {
        const Mount mount(folder_.path("tree/empty/mounted"));
        EXPECT_EQ(remove_empty_tree_at(parent_.get(), "tree"), EBUSY);
        write_file(folder_.path("tree/empty/mounted/file"), "kept");
        EXPECT_EQ(remove_tree_at(parent_.get(), "tree"), EBUSY);
        EXPECT_TRUE(exists(folder_.path("tree/empty/mounted/file")));
    }
    EXPECT_EQ(remove_tree_at(parent_.get(), "tree"), 0);
}

// So after a crash the folder is whole or missing.
TEST_F(FolderTree, OfASaveIsFlushedBeforeItHasItsName) {
    const std::string path = folder_.path("case");
    std::vector<std::string> before_name;
    std::vector<std::string> after_name;
    NewFolder made(path);
    before_flush = [&](const std::string& flushed) { (exists(path) ? after_name : before_name).push_back(flushed); };
    made.add_copy("files/usr/file", {.kind = FileState::Kind::file, .text = "text", .mode = 0600});
    made.add_file("manifest", "text");
    const std::string temporary = folder_.path(names_in(folder_.path()).at(0));
    made.finish();
    EXPECT_THAT(before_name, ElementsAre(temporary + "/files/usr/file", temporary + "/manifest",
                                         temporary + "/files/usr", temporary + "/files", temporary));
    EXPECT_THAT(after_name, ElementsAre(folder_.path()));
}
