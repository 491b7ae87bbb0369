// GETDISKSPACE, and the listing of RUNZMSU.
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/refused_calls.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

constexpr const char* space_tag = "calc_free_space_send_output";

std::string space_at(const std::string& directory) {
    return "CALCLOGSIZE: TARGET_DIR=" + directory + " FREE_SPACE=<digits> MB TOTAL_SPACE=<digits> MB\n";
}

LogLine checking(const std::string& directory) {
    return {information, space_tag, "Checking available space at " + directory};
}

LogLine using_parent(const std::string& directory, const std::string& parent) {
    return {information, space_tag, "Specified dir (" + directory + ") does not exist, using parent dir " + parent};
}

LogLine no_directory(const std::string& directory, const std::string& parent) {
    return {error, space_tag, "Specified dir (" + directory + ") or parent dir (" + parent + ") does not exist"};
}

class GetDiskSpace : public RequestTable {};

TEST_P(GetDiskSpace, AnswersAndLogs) {
    check(GetParam());
}

const std::vector<RequestCase> space_requests = {
    {.name = "NoDirectory", .request = {"GETDISKSPACE"}},
    {.name = "Directory", .request = {"GETDISKSPACE", "/tmp"}, .answer = space_at("/tmp"), .log = {checking("/tmp")}},
    {.name = "Root", .request = {"GETDISKSPACE", "/"}, .answer = space_at("/"), .log = {checking("/")}},
    {
        .name = "TrailingSlash",
        .request = {"GETDISKSPACE", "/tmp/x/"},
        .before = {folder("/tmp/x")},
        .answer = space_at("/tmp/x"),
        .log = {checking("/tmp/x/")},
    },
    {
        .name = "OneOfTwoTrailingSlashes",
        .request = {"GETDISKSPACE", "/tmp/x//"},
        .before = {folder("/tmp/x")},
        .answer = space_at("/tmp/x/"),
        .log = {checking("/tmp/x//")},
    },
    {.name = "TwoSlashes", .request = {"GETDISKSPACE", "//"}, .answer = space_at("/"), .log = {checking("//")}},
    {
        .name = "File",
        .request = {"GETDISKSPACE", "/tmp/file"},
        .before = {file("/tmp/file")},
        .answer = space_at("/tmp/file"),
        .log = {checking("/tmp/file")},
    },
    {
        .name = "ParentOfAMissingDirectory",
        .request = {"GETDISKSPACE", "/tmp/missing"},
        .answer = space_at("/tmp"),
        .log = {checking("/tmp/missing"), using_parent("/tmp/missing", "/tmp")},
    },
    {
        .name = "ParentOfAMissingDirectoryWithATrailingSlash",
        .request = {"GETDISKSPACE", "/tmp/missing/"},
        .answer = space_at("/tmp"),
        .log = {checking("/tmp/missing/"), using_parent("/tmp/missing", "/tmp")},
    },
    {
        .name = "RootAsTheParent",
        .request = {"GETDISKSPACE", "/missing"},
        .answer = space_at("/"),
        .log = {checking("/missing"), using_parent("/missing", "/")},
    },
    {
        .name = "NoGrandparent",
        .request = {"GETDISKSPACE", "/tmp/missing/deep"},
        .status = 5784,
        .log = {checking("/tmp/missing/deep"), no_directory("/tmp/missing/deep", "/tmp/missing")},
    },
    {
        .name = "EmptyArgument",
        .request = {"GETDISKSPACE", ""},
        .answer = space_at("."),
        .log = {checking(""), using_parent("", ".")},
    },
    {
        .name = "RelativeName",
        .request = {"GETDISKSPACE", "missing"},
        .answer = space_at("."),
        .log = {checking("missing"), using_parent("missing", ".")},
    },
    {
        .name = "DanglingLink",
        .request = {"GETDISKSPACE", "/tmp/link"},
        .before = {soft_link("/tmp/link", "/missing")},
        .answer = space_at("/tmp"),
        .log = {checking("/tmp/link"), using_parent("/tmp/link", "/tmp")},
    },
    {
        .name = "ThreeDirectoriesWithTheStatusOfTheThird",
        .request = {"GETDISKSPACE", "/missing/deep", "/tmp", "/opt"},
        .answer = space_at("/tmp") + space_at("/opt"),
        .log = {checking("/missing/deep"), no_directory("/missing/deep", "/missing"), checking("/tmp"),
                checking("/opt")},
    },
    {
        .name = "FailureOfTheLast",
        .request = {"GETDISKSPACE", "/tmp", "/missing/deep"},
        .answer = space_at("/tmp"),
        .status = 5784,
        .log = {checking("/tmp"), checking("/missing/deep"), no_directory("/missing/deep", "/missing")},
    },
};

INSTANTIATE_TEST_SUITE_P(, GetDiskSpace, testing::ValuesIn(space_requests), name_of_row);

// A file system at "/disk".
class Disk : public ProductTest {
  protected:
    explicit Disk(const char* size) {
        make_folder("/disk");
        if (mount("disk", "/disk", "tmpfs", 0, size) != 0) {
            throw std::system_error(errno, std::generic_category(), "mount");
        }
    }
    ~Disk() override { umount2("/disk", MNT_DETACH); }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;
};

class SmallDisk : public Disk {
  protected:
    SmallDisk() : Disk("size=8m") {}
};

constexpr std::size_t mebibyte = 1 << 20;

TEST_F(SmallDisk, IsMeasuredAtItsMountPoint) {
    EXPECT_EQ(run_agent({"GETDISKSPACE", "/disk/"}).output(),
              "CALCLOGSIZE: TARGET_DIR=/disk FREE_SPACE=8 MB TOTAL_SPACE=8 MB\n");
}

TEST_F(SmallDisk, IsMeasuredInWholeMebibytes) {
    write_file("/disk/file", std::string(3 * mebibyte + 1, 'x'));
    EXPECT_EQ(run_agent({"GETDISKSPACE", "/disk/missing"}).output(),
              "CALCLOGSIZE: TARGET_DIR=/disk FREE_SPACE=4 MB TOTAL_SPACE=8 MB\n");
}

TEST_F(SmallDisk, HasNoFreeSpaceWhenItIsFull) {
    write_file("/disk/file", std::string(7 * mebibyte + 4096, 'x'));
    EXPECT_EQ(run_agent({"GETDISKSPACE", "/disk/file"}).output(),
              "CALCLOGSIZE: TARGET_DIR=/disk/file FREE_SPACE=0 MB TOTAL_SPACE=8 MB\n");
}

// A file system with more blocks than 32 bits count.
class LargeDisk : public Disk {
  protected:
    LargeDisk() : Disk("size=17t") {}
};

TEST_F(LargeDisk, IsMeasuredWhole) {
    EXPECT_EQ(run_agent({"GETDISKSPACE", "/disk"}).output(),
              "CALCLOGSIZE: TARGET_DIR=/disk FREE_SPACE=17825792 MB TOTAL_SPACE=17825792 MB\n");
}

class DiskSpace : public ProductTest {};

TEST_F(DiskSpace, FailsWhenTheFileSystemCannotBeExamined) {
    AgentOptions options;
    options.refused_calls = refused_calls::statfs({.error = EIO});
    const AgentRun run = run_agent({"GETDISKSPACE", "/tmp/"}, options);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 5784);
    EXPECT_THAT(run.request_log(),
                LogIs({checking("/tmp/"),
                       {error, space_tag, std::string("failed to get disk space D=/tmp E=5 ") + strerror(EIO)}}));
}

// A path of that length to an existing folder.
std::string long_path_to(const std::string& folder, std::size_t length) {
    std::string path = folder;
    while (path.size() + 1 < length) {
        path += "/.";
    }
    return path + (path.size() < length ? "/" : "");
}

TEST_F(DiskSpace, CutsAnAnswerThatIsTooLong) {
    const std::string path = long_path_to("/tmp", 2000);
    const AgentRun run = run_agent({"GETDISKSPACE", path});
    EXPECT_EQ(run.output(), ("CALCLOGSIZE: TARGET_DIR=" + path).substr(0, 1023));
    EXPECT_EQ(run.status(), 0);
}

class Listing : public ProductTest {
  protected:
    // Runs RUNZMSU with a tool that fills its output directory.
    static AgentRun list(const std::vector<std::string>& steps, const std::string& collection = "/tmp/c") {
        install_tool(zmsu_tool, steps);
        return run_agent({"RUNZMSU", "--collectdir", collection});
    }

    // The lines of the answer, sorted. The empty line that ends the output of the tool comes first.
    static std::vector<std::string> listed(const AgentRun& run) {
        std::vector<std::string> names;
        std::istringstream output(run.output());
        std::string line;
        while (std::getline(output, line)) {
            if (matches_pattern("ZMSU PACKAGE=/tmp/c/<temporary>/<text>", line)) {
                line = line.substr(line.rfind('/') + 1);
            }
            names.push_back(line);
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(Listing, NamesEveryFile) {
    const AgentRun run = list({stand_in::fill_last_argument({"one", "two", ".hidden", "..double", "with blank"})});
    EXPECT_THAT(listed(run), testing::ElementsAre("", "..double", ".hidden", "one", "two", "with blank"));
    EXPECT_EQ(run.status(), 0);
}

TEST_F(Listing, SkipsFolders) {
    const AgentRun run = list({stand_in::fill_last_argument({"folder/inside", "file"})});
    EXPECT_THAT(listed(run), testing::ElementsAre("", "file"));
    EXPECT_EQ(run.status(), 0);
}

TEST_F(Listing, IsEmptyForADirectoryOfFolders) {
    const AgentRun run = list({stand_in::fill_last_argument({"folder/inside"})});
    EXPECT_EQ(run.output(), "\n");
    EXPECT_EQ(run.status(), 0);
}

TEST_F(Listing, IsEmptyForAnEmptyDirectory) {
    const AgentRun run = list({stand_in::fill_last_argument({})});
    EXPECT_EQ(run.output(), "\n");
    EXPECT_EQ(run.status(), 0);
}

TEST_F(Listing, FollowsLinks) {
    const AgentRun run = list({stand_in::fill_last_argument({}),
                               stand_in::run("ln -s /etc/hosts \"$last/to_file\"; ln -s /etc \"$last/to_folder\"")});
    EXPECT_THAT(listed(run), testing::ElementsAre("", "to_file"));
    EXPECT_EQ(run.status(), 0);
}

TEST_F(Listing, NamesFilesOver2Gigabytes) {
    const AgentRun run = list({stand_in::fill_last_argument({}),
                               stand_in::run("truncate -s 3G \"$last/large\"; ln -s large \"$last/to_large\"")});
    EXPECT_THAT(listed(run), testing::ElementsAre("", "large", "to_large"));
    EXPECT_EQ(run.status(), 0);
}

TEST_F(Listing, NamesWhatIsNeitherFileNorFolder) {
    const AgentRun run = list({stand_in::fill_last_argument({}), stand_in::run("mkfifo \"$last/pipe\"")});
    EXPECT_THAT(listed(run), testing::ElementsAre("", "pipe"));
}

TEST_F(Listing, StopsAtADanglingLink) {
    const AgentRun run = list({stand_in::fill_last_argument({}), stand_in::run("ln -s /missing \"$last/link\"")});
    EXPECT_EQ(run.output(), "\n");
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(run.log,
                LogHas({error, "list_dir_and_send_output",
                        std::string("Can't access /tmp/c/<temporary>/link rv=1 E=2 (") + strerror(ENOENT) + ")"}));
    // The clean-up of the failed request cannot examine the link either, so the link stays.
    EXPECT_THAT(run.log, LogHas({error, "remove_directory",
                                 std::string("cannot access /tmp/c/<temporary>/link E=2 (") + strerror(ENOENT) + ")"}));
    EXPECT_THAT(run.log,
                LogHas({error, "remove_directory",
                        std::string("rmdir failed DIR=/tmp/c/<temporary> E=39 (") + strerror(ENOTEMPTY) + ")"}));
    EXPECT_EQ(names_in("/tmp/c").size(), 1U);
}

TEST_F(Listing, FailsWhenThePathOfAnEntryIsTooLong) {
    make_folder("/tmp/c");
    const std::string collection = long_path_to("/tmp/c", 1000);
    const AgentRun run = list({stand_in::fill_last_argument({"file"})}, collection);
    EXPECT_EQ(run.output(), "\n");
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(run.log, LogHas({error, "list_dir_and_send_output",
                                 "Can't access " + collection + "/zmla-<digits> rv=1 E=2 (" + strerror(ENOENT) + ")"}));
}

}  // namespace
