#include <dirent.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>

#include "commands/collection_directories.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages;

constexpr int error = 16;
constexpr int warning = 8;
constexpr int information = 4;
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
    EXPECT_EQ(remove(0), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 0)}));
}

TEST_F(RemoveDirectory, RemovesFilesWhoseNamesBeginWithDots) {
    for (const char* name : {"/...", "/..x", "/. ", "/.. "}) {
        write_file(directory_ + name, "");
    }
    EXPECT_EQ(remove(0), 0);
    EXPECT_FALSE(exists(directory_));
}

// The path of such a directory's entry is cut to the directory's own, again and again.
TEST_F(RemoveDirectory, EndsWithoutDescriptorsWhereAPathLeavesNoRoomForAName) {
    std::string deep = directory_;
    while (deep.size() < 1800) {
        deep += "/" + std::string(200, 'd');
    }
    deep += "/" + std::string(2047 - 1 - deep.size(), 'd');
    write_file(deep + "/file", "");
    EXPECT_EQ(run_in_child([&] {
                  const rlimit few_descriptors = {.rlim_cur = 64, .rlim_max = 64};
                  setrlimit(RLIMIT_NOFILE, &few_descriptors);
                  const int next = next_descriptor();
                  return remove_directory(deep.c_str(), 1) == 5784 && next_descriptor() == next ? 0 : 1;
              }),
              0);
    EXPECT_TRUE(exists(deep + "/file"));
}

TEST_F(RemoveDirectory, RemovesAnEmptyDirectory) {
    EXPECT_EQ(remove(0), 0);
    EXPECT_FALSE(exists(directory_));
}

TEST_F(RemoveDirectory, RemovesEverythingBelowWithOption1) {
    write_file(directory_ + "/below/deeper/file", "x");
    EXPECT_EQ(remove(1), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 1), removing(directory_ + "/below", 1),
                                 removing(directory_ + "/below/deeper", 1)}));
}

TEST_F(RemoveDirectory, RefusesToDescendWithOption0) {
    write_file(directory_ + "/below/file", "x");
    EXPECT_EQ(remove(0), 5784);
    EXPECT_TRUE(exists(directory_ + "/below/file"));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 0),
                                 {warning, tag, "not removing internal dir (" + directory_ + "/below)"},
                                 {error, tag, "failed to remove FILE=" + directory_ + "/below RV=5784"}}));
}

TEST_F(RemoveDirectory, RefusesToDescendWithAnyOtherOption) {
    make_folder(directory_ + "/below");
    EXPECT_EQ(remove(2), 5784);
    EXPECT_EQ(remove(-1), 5784);
    EXPECT_TRUE(exists(directory_ + "/below"));
}

TEST_F(RemoveDirectory, HasRemovedTheFilesReadBeforeTheSubdirectory) {
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
    EXPECT_EQ(remove(0), 5784);
    EXPECT_TRUE(std::none_of(before.begin(), before.end(), exists));
    EXPECT_TRUE(std::all_of(after.begin(), after.end(), exists));
}

TEST_F(RemoveDirectory, Returns5784WhenTheDirectoryCannotBeOpened) {
    remove_tree(directory_);
    EXPECT_EQ(remove(1), 5784);
    EXPECT_EQ(messages(),
              (Lines{{error, tag, "Failed to open dir: " + directory_ + " E=2 (No such file or directory)"}}));
}

TEST_F(RemoveDirectory, Returns5784ForAFile) {
    write_file(folder_.path("file"), "x");
    EXPECT_EQ(remove_directory(folder_.path("file").c_str(), 1), 5784);
    EXPECT_TRUE(exists(folder_.path("file")));
}

TEST_F(RemoveDirectory, LeavesWhatCannotBeExaminedAndGoesOn) {
    make_link("/missing", directory_ + "/dangling");
    write_file(directory_ + "/a", "");
    write_file(directory_ + "/z", "");
    EXPECT_EQ(remove(1), 5784);
    EXPECT_FALSE(exists(directory_ + "/a"));
    EXPECT_FALSE(exists(directory_ + "/z"));
    EXPECT_TRUE(exists(directory_ + "/dangling"));
    EXPECT_EQ(messages(),
              (Lines{removing(directory_, 1),
                     {error, tag, "cannot access " + directory_ + "/dangling E=2 (No such file or directory)"},
                     {error, tag, "rmdir failed DIR=" + directory_ + " E=39 (Directory not empty)"}}));
}

TEST_F(RemoveDirectory, PassesOverAFileThatHasGoneMeanwhile) {
    for (const char* name : {"/a", "/vanishing", "/z"}) {
        write_file(directory_ + name, "");
    }
    faults.vanishing_file = directory_ + "/vanishing";
    EXPECT_EQ(remove(0), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(messages(),
              (Lines{removing(directory_, 0),
                     {error, tag, "cannot access " + directory_ + "/vanishing E=2 (No such file or directory)"}}));
}

TEST_F(RemoveDirectory, EndsALoopOfLinksWhereTheSystemDoesAndRemovesTheFiles) {
    make_link(".", directory_ + "/loop");
    for (const char* name : {"/a", "/b", "/y", "/z"}) {
        write_file(directory_ + name, "");
    }
    EXPECT_EQ(remove(1), 5784);
    for (const char* name : {"/a", "/b", "/y", "/z"}) {
        EXPECT_FALSE(exists(directory_ + name)) << name;
    }
    EXPECT_TRUE(exists(directory_ + "/loop"));
    const Lines log = messages();
    EXPECT_TRUE(std::any_of(log.begin(), log.end(), [](const LogLine& line) {
        return line.text.starts_with("cannot access ") &&
               line.text.ends_with("/loop E=40 (Too many levels of symbolic links)");
    }));
    EXPECT_EQ(log.back(), (LogLine{error, tag, "failed to remove FILE=" + directory_ + "/loop RV=5784"}));
}

TEST_F(RemoveDirectory, RemovesALinkToAFileAndKeepsTheFile) {
    write_file(folder_.path("kept"), "x");
    make_link(folder_.path("kept"), directory_ + "/link");
    EXPECT_EQ(remove(0), 0);
    EXPECT_EQ(read_file(folder_.path("kept")), "x");
}

TEST_F(RemoveDirectory, EmptiesWhatALinkToADirectoryLeadsTo) {
    write_file(folder_.path("other/file"), "x");
    make_link(folder_.path("other"), directory_ + "/link");
    EXPECT_EQ(remove(1), 5784);
    EXPECT_FALSE(exists(folder_.path("other/file")));
    EXPECT_TRUE(exists(folder_.path("other")));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 1),
                                 removing(directory_ + "/link", 1),
                                 {error, tag, "rmdir failed DIR=" + directory_ + "/link E=20 (Not a directory)"},
                                 {error, tag, "failed to remove FILE=" + directory_ + "/link RV=5784"}}));
}

TEST_F(RemoveDirectory, StopsAtAFileThatCannotBeRemoved) {
    write_file(directory_ + "/stuck", "");
    faults.unremovable_file = directory_ + "/stuck";
    faults.file_not_removed = EBUSY;
    EXPECT_EQ(remove(1), 5784);
    EXPECT_TRUE(exists(directory_));
    EXPECT_EQ(messages(),
              (Lines{removing(directory_, 1),
                     {error, tag, "unlink failed FILE=" + directory_ + "/stuck E=16 (Device or resource busy)"},
                     {error, tag, "failed to remove FILE=" + directory_ + "/stuck RV=5784"}}));
}

TEST_F(RemoveDirectory, TellsAFailureBelowAtEveryLevel) {
    write_file(directory_ + "/below/stuck", "");
    faults.unremovable_file = directory_ + "/below/stuck";
    faults.file_not_removed = EBUSY;
    EXPECT_EQ(remove(1), 5784);
    EXPECT_EQ(messages(),
              (Lines{removing(directory_, 1),
                     removing(directory_ + "/below", 1),
                     {error, tag, "unlink failed FILE=" + directory_ + "/below/stuck E=16 (Device or resource busy)"},
                     {error, tag, "failed to remove FILE=" + directory_ + "/below/stuck RV=5784"},
                     {error, tag, "failed to remove FILE=" + directory_ + "/below RV=5784"}}));
}

TEST_F(RemoveDirectory, Returns5784WhenTheEmptyDirectoryCannotBeRemoved) {
    faults.directory_not_removed = EBUSY;
    EXPECT_EQ(remove(1), 5784);
    EXPECT_EQ(messages().back(),
              (LogLine{error, tag, "rmdir failed DIR=" + directory_ + " E=16 (Device or resource busy)"}));
}

TEST_F(RemoveDirectory, TakesAFailingReadForTheEndOfTheDirectory) {
    write_file(directory_ + "/a", "");
    faults.entries_not_read = EIO;
    EXPECT_EQ(remove(1), 5784);
    EXPECT_TRUE(exists(directory_ + "/a"));
    EXPECT_EQ(messages(), (Lines{removing(directory_, 1),
                                 {error, tag, "rmdir failed DIR=" + directory_ + " E=39 (Directory not empty)"}}));
}

TEST_F(RemoveDirectory, CutsThePathOfAnEntryTo2047Characters) {
    std::string deep = directory_;
    while (deep.size() < 2000) {
        deep += "/" + std::string(100, 'd');
    }
    write_file(deep + "/" + std::string(100, 'f'), "");
    EXPECT_EQ(remove_directory(deep.c_str(), 1), 5784);
    const std::string cut = (deep + "/" + std::string(100, 'f')).substr(0, 2047);
    EXPECT_EQ(messages().at(1), (LogLine{error, tag, "cannot access " + cut + " E=2 (No such file or directory)"}));
}

TEST_F(RemoveDirectory, LeavesNoDescriptorOpen) {
    make_folder(directory_ + "/below");
    const int next = next_descriptor();
    remove(0);
    remove(1);
    EXPECT_EQ(next_descriptor(), next);
}

}  // namespace
