// Links below a directory that is removed: which ones are followed, and which ones belong to strangers.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "commands/directory_removal.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages;

using log_level::error;
using log_level::information;
constexpr const char* tag = "remove_directory";

// A directory to remove, and outside it a folder with a file, the target of links.
class RemovalOfLinks : public AgentTest {
  protected:
    RemovalOfLinks() {
        make_folder(directory_);
        write_file(kept_file_, "x");
    }

    int remove() const { return remove_directory(directory_.c_str(), recursively); }

    static LogLine removing(const std::string& path) {
        return {information, tag, "Removing directory (" + path + ") Option(1)"};
    }
    static LogLine not_accessed(const std::string& path) {
        return {error, tag, "cannot access " + path + " E=40 (Too many levels of symbolic links)"};
    }
    static LogLine not_opened(const std::string& path) {
        return {error, tag, "Failed to open dir: " + path + " E=40 (Too many levels of symbolic links)"};
    }
    LogLine not_empty() const { return {error, tag, "rmdir failed DIR=" + directory_ + " E=39 (Directory not empty)"}; }

    // Replaces what has the path with a link to the other folder, once, right before the call.
    void put_link_before(const std::string& call, const std::string& path) {
        overrides.before_call = [this, call, path, done = false](const std::string& next) mutable {
            if (next == call && !done) {
                done = true;
                std::filesystem::rename(path, folder_.path("moved"));
                make_link(other_, path);
            }
        };
    }

    ScratchFolder folder_;
    const std::string directory_ = folder_.path("directory");
    const std::string other_ = folder_.path("other");
    const std::string kept_file_ = other_ + "/file";
};

TEST_F(RemovalOfLinks, RemovesALinkToAFileAndKeepsTheFile) {
    make_link(kept_file_, directory_ + "/link");
    EXPECT_EQ(remove(), 0);
    EXPECT_FALSE(exists(directory_));
    EXPECT_EQ(read_file(kept_file_), "x");
}

TEST_F(RemovalOfLinks, EmptiesTheTargetOfALinkToADirectory) {
    make_link(other_, directory_ + "/link");
    EXPECT_EQ(remove(), 5784);
    EXPECT_FALSE(exists(kept_file_));
    EXPECT_TRUE(exists(other_));
    EXPECT_EQ(messages(), (Lines{removing(directory_),
                                 removing(directory_ + "/link"),
                                 {error, tag, "rmdir failed DIR=" + directory_ + "/link E=20 (Not a directory)"},
                                 {error, tag, "failed to remove FILE=" + directory_ + "/link RV=5784"}}));
}

TEST_F(RemovalOfLinks, EmptiesTheTargetWhenItsOwnNameIsALink) {
    for (const std::string slashes : {"", "/", "//"}) {
        const std::string name = folder_.path("name") + slashes;
        remove_tree(folder_.path("name"));
        make_link(other_, folder_.path("name"));
        write_file(kept_file_, "x");
        recording_platform::reset();
        EXPECT_EQ(remove_directory(name.c_str(), recursively), 5784);
        EXPECT_FALSE(exists(kept_file_));
        EXPECT_EQ(messages(),
                  (Lines{removing(name), {error, tag, "rmdir failed DIR=" + name + " E=20 (Not a directory)"}}));
    }
}

// The kernel follows at most 40 links of a path.
TEST_F(RemovalOfLinks, EndsALoopOfLinksWhereTheSystemDoesAndRemovesTheFiles) {
    make_link(".", directory_ + "/loop");
    for (const char* name : {"/a", "/b", "/y", "/z"}) {
        write_file(directory_ + name, "");
    }
    EXPECT_EQ(remove(), 5784);
    EXPECT_EQ(names_in(directory_), (Texts{"loop"}));
    Lines expected;
    std::string path = directory_;
    for (int links = 0; links <= 40; ++links) {
        expected.push_back(removing(path));
        path += "/loop";
    }
    expected.push_back(not_accessed(path));
    path.resize(path.size() - strlen("/loop"));
    expected.push_back({error, tag, "rmdir failed DIR=" + path + " E=20 (Not a directory)"});
    for (; path != directory_; path.resize(path.size() - strlen("/loop"))) {
        expected.push_back({error, tag, "failed to remove FILE=" + path + " RV=5784"});
    }
    EXPECT_EQ(messages(), expected);
}

// Each level of this loop goes through three links, and the way to it through one.
TEST_F(RemovalOfLinks, EndsALoopAfter40LinksOfAnyKind) {
    make_link(".", directory_ + "/here");
    make_link("here", directory_ + "/there");
    make_link("there", directory_ + "/loop");
    make_link(folder_.path(), folder_.path("way"));
    const std::string directory = folder_.path("way/directory");
    EXPECT_EQ(remove_directory(directory.c_str(), recursively), 5784);
    const Lines log = messages();
    const auto last = std::find_if(log.begin(), log.end(), [](const LogLine& line) { return line.level == error; });
    ASSERT_NE(last, log.end());
    // The kernel agrees.
    const std::string prefix = "cannot access ";
    const std::string path = last->text.substr(prefix.size(), last->text.find(" E=40") - prefix.size());
    EXPECT_EQ(*last, not_accessed(path));
    EXPECT_EQ(access(path.c_str(), F_OK), -1);
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(access(path.substr(0, path.rfind('/')).c_str(), F_OK), 0);
}

// Why the links of a folder may belong to a stranger.
struct OpenToOthers {
    std::string name;
    unsigned mode;
    bool is_of_another_user = false;
};

void PrintTo(const OpenToOthers& folder, std::ostream* out) {
    *out << folder.name;
}

const std::vector<OpenToOthers> folders_open_to_others = {
    {.name = "WrittenByAll", .mode = 0777},        {.name = "WrittenByAllWithTheStickyBit", .mode = 01777},
    {.name = "WrittenByItsGroup", .mode = 0775},   {.name = "WrittenByOthers", .mode = 0757},
    {.name = "WrittenByOthersOnly", .mode = 0702}, {.name = "OfAnotherUser", .mode = 0755, .is_of_another_user = true},
};

class LinksOfStrangers : public RemovalOfLinks, public testing::WithParamInterface<OpenToOthers> {
  protected:
    static void open_to_others(const std::string& folder) {
        set_mode(folder, GetParam().mode);
        if (GetParam().is_of_another_user) {
            overrides.effective_user = geteuid() + 1;
        }
    }
};

TEST_P(LinksOfStrangers, AreLeftWhereTheyAre) {
    make_link(other_, directory_ + "/link");
    open_to_others(directory_);
    EXPECT_EQ(remove(), 5784);
    EXPECT_EQ(errno, ENOTEMPTY);
    EXPECT_TRUE(exists(directory_ + "/link"));
    EXPECT_EQ(read_file(kept_file_), "x");
    EXPECT_EQ(messages(), (Lines{removing(directory_), not_accessed(directory_ + "/link"), not_empty()}));
}

TEST_P(LinksOfStrangers, AreLeftWhateverTheirTarget) {
    make_link(kept_file_, directory_ + "/link");
    make_link("/missing", directory_ + "/dangling");
    make_link(".", directory_ + "/loop");
    write_file(directory_ + "/file", "");
    open_to_others(directory_);
    EXPECT_EQ(remove(), 5784);
    EXPECT_EQ(names_in(directory_), (Texts{"dangling", "link", "loop"}));
    for (const char* name : {"/dangling", "/link", "/loop"}) {
        EXPECT_THAT(messages(), testing::Contains(not_accessed(directory_ + name)));
    }
}

TEST_P(LinksOfStrangers, AreLeftInAFolderBelow) {
    make_folder(directory_ + "/below");
    make_link(other_, directory_ + "/below/link");
    open_to_others(directory_ + "/below");
    EXPECT_EQ(remove(), 5784);
    EXPECT_EQ(read_file(kept_file_), "x");
    EXPECT_EQ(messages().at(2), not_accessed(directory_ + "/below/link"));
}

TEST_P(LinksOfStrangers, AreNotOpenedInsteadOfTheDirectory) {
    make_link(other_, folder_.path("link"));
    open_to_others(folder_.path());
    for (const std::string slashes : {"", "/", "//"}) {
        const std::string link = folder_.path("link") + slashes;
        recording_platform::reset();
        EXPECT_EQ(remove_directory(link.c_str(), recursively), 5784);
        EXPECT_EQ(errno, ELOOP);
        EXPECT_EQ(messages(), (Lines{not_opened(link)}));
    }
    EXPECT_EQ(read_file(kept_file_), "x");
}

TEST_P(LinksOfStrangers, AreNotOpenedWhenTheyDangle) {
    make_link("/missing", folder_.path("link"));
    open_to_others(folder_.path());
    EXPECT_EQ(remove_directory(folder_.path("link").c_str(), recursively), 5784);
    EXPECT_EQ(messages(), (Lines{not_opened(folder_.path("link"))}));
}

TEST_P(LinksOfStrangers, DoNotKeepDirectoriesFromBeingRemoved) {
    write_file(directory_ + "/below/file", "");
    open_to_others(folder_.path());
    open_to_others(directory_);
    open_to_others(directory_ + "/below");
    EXPECT_EQ(remove(), 0);
    EXPECT_FALSE(exists(directory_));
}

TEST_P(LinksOfStrangers, AreFollowedAboveTheDirectory) {
    make_link(".", folder_.path("link"));
    open_to_others(folder_.path());
    EXPECT_EQ(remove_directory(folder_.path("link/directory").c_str(), recursively), 0);
    EXPECT_FALSE(exists(directory_));
}

TEST_P(LinksOfStrangers, AreNotFollowedWhenTheyReplaceTheDirectory) {
    open_to_others(folder_.path());
    put_link_before("openat " + directory_, directory_);
    EXPECT_EQ(remove(), 5784);
    EXPECT_EQ(read_file(kept_file_), "x");
    EXPECT_EQ(messages(), (Lines{not_opened(directory_)}));
}

TEST_P(LinksOfStrangers, AreNotFollowedWhenTheyReplaceAnExaminedFolder) {
    const std::string below = directory_ + "/below";
    write_file(below + "/file", "");
    open_to_others(directory_);
    put_link_before("openat " + below, below);
    EXPECT_EQ(remove(), 5784);
    EXPECT_EQ(read_file(kept_file_), "x");
    EXPECT_EQ(
        messages(),
        (Lines{removing(directory_), not_opened(below), {error, tag, "failed to remove FILE=" + below + " RV=5784"}}));
}

TEST_P(LinksOfStrangers, AreNotFollowedWhenTheyReplaceAnOpenFolder) {
    const std::string below = directory_ + "/below";
    write_file(below + "/file", "");
    open_to_others(directory_);
    put_link_before("unlink " + below + "/file", below);
    EXPECT_EQ(remove(), 5784);
    EXPECT_EQ(read_file(kept_file_), "x");
    EXPECT_EQ(messages().at(2), (LogLine{error, tag, "rmdir failed DIR=" + below + " E=20 (Not a directory)"}));
}

TEST_P(LinksOfStrangers, AreRemovedThemselvesWhenTheyReplaceAPlainFile) {
    write_file(directory_ + "/file", "");
    open_to_others(directory_);
    put_link_before("unlink " + directory_ + "/file", directory_ + "/file");
    EXPECT_EQ(remove(), 0);
    EXPECT_EQ(read_file(kept_file_), "x");
}

INSTANTIATE_TEST_SUITE_P(, LinksOfStrangers, testing::ValuesIn(folders_open_to_others),
                         [](const testing::TestParamInfo<OpenToOthers>& folder) { return folder.param.name; });

}  // namespace
