#include "commands/directory_removal.h"

#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages;

using log_level::error;
using log_level::information;
using log_level::warning;
constexpr const char* tag = "remove_directory";

class RemoveDirectory : public AgentTest {
  protected:
    RemoveDirectory() { make_folder(directory_); }

    int remove(int option) const { return remove_directory(directory_.c_str(), option); }

    LogLine removing(const std::string& path, int option) const {
        return {information, tag, "Removing directory (" + path + ") Option(" + std::to_string(option) + ")"};
    }

    ScratchFolder folder_;
    const std::string directory_ = folder_.path("directory");
};

TEST_F(RemoveDirectory, RemovesADirectoryOfPlainFiles) {
    write_file(directory_ + "/a", "x");
    write_file(directory_ + "/.b", "");
    EXPECT_EQ(remove(plain_files_only), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 0)}));
}

TEST_F(RemoveDirectory, RemovesFilesWhoseNamesBeginWithDots) {
    for (const char* name : {"/...", "/..x", "/. ", "/.. "}) {
        write_file(directory_ + name, "");
    }
    EXPECT_EQ(remove(plain_files_only), 0);
    EXPECT_FALSE(exists(directory_));
}

TEST_F(RemoveDirectory, RemovesAnEmptyDirectory) {
    EXPECT_EQ(remove(plain_files_only), 0);
    EXPECT_FALSE(exists(directory_));
}

TEST_F(RemoveDirectory, RemovesEverythingBelowWhenAskedTo) {
    write_file(directory_ + "/below/deeper/file", "x");
    EXPECT_EQ(remove(recursively), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 1), removing(directory_ + "/below", 1),
                                 removing(directory_ + "/below/deeper", 1)}));
}

TEST_F(RemoveDirectory, DoesNotDescendWithTheOptionForPlainFilesOnly) {
    write_file(directory_ + "/below/file", "x");
    EXPECT_EQ(remove(plain_files_only), 5784);
    EXPECT_TRUE(exists(directory_ + "/below/file"));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 0),
                                 {warning, tag, "not removing internal dir (" + directory_ + "/below)"},
                                 {error, tag, "failed to remove FILE=" + directory_ + "/below RV=5784"}}));
}

TEST_F(RemoveDirectory, DoesNotDescendWithAnyOtherOption) {
    make_folder(directory_ + "/below");
    EXPECT_EQ(remove(2), 5784);
    EXPECT_EQ(remove(-1), 5784);
    EXPECT_TRUE(exists(directory_ + "/below"));
    EXPECT_EQ(messages().at(0), removing(directory_, 2));
    EXPECT_EQ(messages().at(3), removing(directory_, -1));
}

TEST_F(RemoveDirectory, RemovesTheFilesReadBeforeTheSubdirectory) {
    for (const char* name : {"/a", "/b", "/c"}) {
        write_file(directory_ + name, "");
    }
    make_folder(directory_ + "/below");
    for (const char* name : {"/d", "/e", "/f"}) {
        write_file(directory_ + name, "");
    }
    Texts before;
    Texts* names = &before;
    Texts after;
    const Directory stream(opendir(directory_.c_str()));
    while (const dirent* entry = readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name == "below") {
            names = &after;
        } else if (name != "." && name != "..") {
            names->push_back(directory_ + "/" + name);
        }
    }
    EXPECT_EQ(remove(plain_files_only), 5784);
    EXPECT_TRUE(std::none_of(before.begin(), before.end(), exists));
    EXPECT_TRUE(std::all_of(after.begin(), after.end(), exists));
}

TEST_F(RemoveDirectory, Returns5784WhenTheDirectoryCannotBeOpened) {
    remove_tree(directory_);
    EXPECT_EQ(remove(recursively), 5784);
    EXPECT_EQ(messages(),
              (Lines{{error, tag, "Failed to open dir: " + directory_ + " E=2 (No such file or directory)"}}));
}

TEST_F(RemoveDirectory, Returns5784ForAFile) {
    write_file(folder_.path("file"), "x");
    EXPECT_EQ(remove_directory(folder_.path("file").c_str(), recursively), 5784);
    EXPECT_TRUE(exists(folder_.path("file")));
}

TEST_F(RemoveDirectory, LeavesWhatCannotBeExaminedAndContinues) {
    make_link("/missing", directory_ + "/dangling");
    write_file(directory_ + "/a", "");
    write_file(directory_ + "/z", "");
    EXPECT_EQ(remove(recursively), 5784);
    EXPECT_FALSE(exists(directory_ + "/a"));
    EXPECT_FALSE(exists(directory_ + "/z"));
    EXPECT_TRUE(exists(directory_ + "/dangling"));
    EXPECT_EQ(messages(),
              (Lines{removing(directory_, 1),
                     {error, tag, "cannot access " + directory_ + "/dangling E=2 (No such file or directory)"},
                     {error, tag, "rmdir failed DIR=" + directory_ + " E=39 (Directory not empty)"}}));
}

TEST_F(RemoveDirectory, SkipsAFileThatHasVanished) {
    for (const char* name : {"/a", "/vanishing", "/z"}) {
        write_file(directory_ + name, "");
    }
    overrides.vanishing_file = directory_ + "/vanishing";
    EXPECT_EQ(remove(plain_files_only), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(messages(),
              (Lines{removing(directory_, 0),
                     {error, tag, "cannot access " + directory_ + "/vanishing E=2 (No such file or directory)"}}));
}

TEST_F(RemoveDirectory, StopsAtAFileThatCannotBeRemoved) {
    write_file(directory_ + "/stuck", "");
    failures["unlink " + directory_ + "/stuck"] = always(EBUSY);
    EXPECT_EQ(remove(recursively), 5784);
    EXPECT_TRUE(exists(directory_));
    EXPECT_EQ(messages(),
              (Lines{removing(directory_, 1),
                     {error, tag, "unlink failed FILE=" + directory_ + "/stuck E=16 (Device or resource busy)"},
                     {error, tag, "failed to remove FILE=" + directory_ + "/stuck RV=5784"}}));
}

TEST_F(RemoveDirectory, ReportsAFailureBelowAtEveryLevel) {
    write_file(directory_ + "/below/stuck", "");
    failures["unlink " + directory_ + "/below/stuck"] = always(EBUSY);
    EXPECT_EQ(remove(recursively), 5784);
    EXPECT_EQ(messages(),
              (Lines{removing(directory_, 1),
                     removing(directory_ + "/below", 1),
                     {error, tag, "unlink failed FILE=" + directory_ + "/below/stuck E=16 (Device or resource busy)"},
                     {error, tag, "failed to remove FILE=" + directory_ + "/below/stuck RV=5784"},
                     {error, tag, "failed to remove FILE=" + directory_ + "/below RV=5784"}}));
}

TEST_F(RemoveDirectory, Returns5784WhenTheEmptyDirectoryCannotBeRemoved) {
    failures["rmdir"] = {EBUSY};
    EXPECT_EQ(remove(recursively), 5784);
    EXPECT_EQ(messages().back(),
              (LogLine{error, tag, "rmdir failed DIR=" + directory_ + " E=16 (Device or resource busy)"}));
}

TEST_F(RemoveDirectory, TreatsAFailingReadAsTheEndOfTheDirectory) {
    write_file(directory_ + "/a", "");
    failures["readdir"] = {EIO};
    EXPECT_EQ(remove(recursively), 5784);
    EXPECT_TRUE(exists(directory_ + "/a"));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 1),
                                 {error, tag, "rmdir failed DIR=" + directory_ + " E=39 (Directory not empty)"}}));
}

TEST_F(RemoveDirectory, DoesNotExaminePlainFiles) {
    write_file(directory_ + "/a", "");
    recording_platform::reset();
    EXPECT_EQ(remove(plain_files_only), 0);
    EXPECT_EQ(recording_platform::calls(), (Texts{"open " + folder_.path() + "/", "openat " + directory_,
                                                  "unlink " + directory_ + "/a", "rmdir " + directory_}));
}

TEST_F(RemoveDirectory, ExaminesAPlainFileAgainThatHasBecomeADirectory) {
    write_file(directory_ + "/changing", "");
    overrides.before_call = [&](const std::string& call) {
        if (call == "unlink " + directory_ + "/changing") {
            remove_tree(directory_ + "/changing");
            write_file(directory_ + "/changing/file", "");
        }
    };
    EXPECT_EQ(remove(recursively), 0);
    EXPECT_EQ(messages(), (Lines{removing(directory_, 1), removing(directory_ + "/changing", 1)}));
}

TEST_F(RemoveDirectory, StopsAtADirectoryThatCannotBeOpened) {
    make_folder(directory_ + "/below");
    EXPECT_EQ(run_in_child([&] {
                  const rlim_t two_more = static_cast<rlim_t>(next_descriptor()) + 2;
                  const rlimit few_descriptors = {.rlim_cur = two_more, .rlim_max = two_more};
                  setrlimit(RLIMIT_NOFILE, &few_descriptors);
                  return remove(recursively) == 5784 && errno == EMFILE ? 0 : 1;
              }),
              0);
    EXPECT_EQ(recording_platform::child_messages(),
              (Lines{removing(directory_, 1),
                     {error, tag, "Failed to open dir: " + directory_ + "/below E=24 (Too many open files)"},
                     {error, tag, "failed to remove FILE=" + directory_ + "/below RV=5784"}}));
}

// The path of an entry, of this length, and the directory that contains it.
struct LongPath {
    LongPath(const std::string& above, std::size_t length) : directory(above) {
        const std::string name(100, 'f');
        while (directory.size() < length - 250) {
            directory += "/" + std::string(100, 'd');
        }
        directory += "/" + std::string(length - directory.size() - 2 - name.size(), 'd');
        path = directory + "/" + name;
        write_file(path, "");
    }
    std::string directory;
    std::string path;
};

TEST_F(RemoveDirectory, RemovesAnEntryWhosePathHas2047Characters) {
    const LongPath entry(directory_, 2047);
    EXPECT_EQ(remove_directory(entry.directory.c_str(), recursively), 0);
    EXPECT_FALSE(exists(entry.directory));
}

TEST_F(RemoveDirectory, LeavesAnEntryWhosePathIsLonger) {
    const LongPath entry(directory_, 2048);
    EXPECT_EQ(remove_directory(entry.directory.c_str(), recursively), 5784);
    EXPECT_TRUE(exists(entry.path));
    EXPECT_EQ(messages(),
              (Lines{removing(entry.directory, 1),
                     {error, tag, "cannot access " + entry.path.substr(0, 2047) + " E=36 (File name too long)"},
                     {error, tag, "rmdir failed DIR=" + entry.directory + " E=39 (Directory not empty)"}}));
}

// The path of such an entry is cut to its buffer, and then equals the path of the directory.
TEST_F(RemoveDirectory, DoesNotDescendIntoItselfWhenItsPathLeavesNoRoomForAName) {
    const LongPath entry(directory_, 2047);
    remove_tree(entry.path);
    write_file(entry.path + "/file", "");
    EXPECT_EQ(remove_directory(entry.path.c_str(), recursively), 5784);
    EXPECT_TRUE(exists(entry.path + "/file"));
    EXPECT_EQ(messages().at(1), (LogLine{error, tag, "cannot access " + entry.path + " E=36 (File name too long)"}));
}

TEST_F(RemoveDirectory, LogsTheWholePathOfADirectoryWithALongerPath) {
    const LongPath entry(directory_, 2100);
    remove_tree(entry.path);
    make_folder(entry.path);
    EXPECT_EQ(remove_directory(entry.path.c_str(), recursively), 0);
    EXPECT_FALSE(exists(entry.path));
    EXPECT_EQ(messages(), (Lines{removing(entry.path, 1)}));
}

// How a directory can be named, and what its removal then logs.
TEST_F(RemoveDirectory, AcceptsSlashesAfterTheName) {
    make_folder(directory_ + "/below");
    EXPECT_EQ(remove_directory((directory_ + "//").c_str(), recursively), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(messages(), (Lines{removing(directory_ + "//", 1), removing(directory_ + "///below", 1)}));
}

TEST_F(RemoveDirectory, AcceptsARelativeName) {
    write_file(directory_ + "/below/file", "");
    ASSERT_EQ(chdir(folder_.path().c_str()), 0);
    EXPECT_EQ(remove_directory("directory/below", recursively), 0);
    EXPECT_EQ(remove_directory("directory", recursively), 0);
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(messages(), (Lines{removing("directory/below", 1), removing("directory", 1)}));
}

TEST_F(RemoveDirectory, CannotRemoveANameOfDots) {
    ASSERT_EQ(chdir(directory_.c_str()), 0);
    EXPECT_EQ(remove_directory(".", recursively), 5784);
    EXPECT_EQ(messages().back(), (LogLine{error, tag, "rmdir failed DIR=. E=22 (Invalid argument)"}));
    ASSERT_EQ(chdir("/"), 0);
    const std::string parent = directory_ + "/..";
    EXPECT_EQ(remove_directory(parent.c_str(), plain_files_only), 5784);
    EXPECT_EQ(messages().back(), (LogLine{error, tag, "failed to remove FILE=" + parent + "/directory RV=5784"}));
    remove_tree(directory_);
    EXPECT_EQ(remove_directory((folder_.path() + "/.").c_str(), plain_files_only), 5784);
    EXPECT_EQ(messages().back(),
              (LogLine{error, tag, "rmdir failed DIR=" + folder_.path() + "/. E=22 (Invalid argument)"}));
}

TEST_F(RemoveDirectory, FailsForAnEmptyName) {
    EXPECT_EQ(remove_directory("", recursively), 5784);
    EXPECT_EQ(messages(), (Lines{{error, tag, "Failed to open dir:  E=2 (No such file or directory)"}}));
}

TEST_F(RemoveDirectory, FailsBelowAMissingFolderAndBelowAFile) {
    write_file(folder_.path("file"), "");
    EXPECT_EQ(remove_directory((directory_ + "/missing/below").c_str(), recursively), 5784);
    EXPECT_EQ(remove_directory((folder_.path("file") + "/below").c_str(), recursively), 5784);
    EXPECT_EQ(
        messages(),
        (Lines{{error, tag, "Failed to open dir: " + directory_ + "/missing/below E=2 (No such file or directory)"},
               {error, tag, "Failed to open dir: " + folder_.path("file") + "/below E=20 (Not a directory)"}}));
}

TEST_F(RemoveDirectory, LeavesNoDescriptorOpen) {
    make_folder(directory_ + "/below");
    const int next = next_descriptor();
    remove(plain_files_only);
    remove(recursively);
    EXPECT_EQ(next_descriptor(), next);
}

}  // namespace
