// CLEANUP: removes the results of earlier collections.
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;
using log_level::warning;

const std::string middle = "12345678901234567890123456789";
const std::string good_name = "zmla-" + middle + "-abcdef";
const std::string good = "/tmp/" + good_name;
const std::string good_in_opt = "/opt/" + good_name;
const std::string other = "/opt/deep/er/zmla-" + middle + "-A!c e.";

const std::string cleaned = "CLEANUP: Successfully cleaned up ";
const std::string failed = "CLEANUP: Failed to clean up ";
const std::string refused = "CLEANUP: Will not clean up unknown location: ";

LogLine result(const std::string& directory, int index, int status, const std::string& answer) {
    return {error, "perform_cleanup_zmladir",
            "Cleanup result D=" + directory + " #D=" + std::to_string(index) + " NSC=" + std::to_string(status) +
                " M=" + answer};
}

LogLine valid(const std::string& directory) {
    return {information, "is_valid_zmladir", "Directory valid for removal: " + directory};
}

LogLine removing(const std::string& directory) {
    return {information, "remove_directory", "Removing directory (" + directory + ") Option(0)"};
}

LogLine removal_failed(const std::string& what, int number) {
    return {error, "remove_directory", what + " E=" + std::to_string(number) + " (" + strerror(number) + ")"};
}

LogLine not_removed(const std::string& path) {
    return {error, "remove_directory", "failed to remove FILE=" + path + " RV=5784"};
}

// A request for a directory with another name, which the agent rejects for that reason.
RequestCase rejection(const std::string& name, const std::string& directory, const std::string& reason) {
    return {
        .name = name,
        .request = {"CLEANUP", directory},
        .answer = refused + directory + "\n",
        .status = 5820,
        .log = {{error, "is_valid_zmladir", "Invalid directory (ERR=" + reason + "): " + directory},
                result(directory, 1, 5820, refused + directory)},
    };
}

// The same with an existing directory, which stays with its file.
RequestCase rejection_of_a_directory(const std::string& name, const std::string& directory, const std::string& reason) {
    RequestCase row = rejection(name, directory, reason);
    row.before = {file(directory + "/file", "kept")};
    row.after = {file(directory + "/file", "kept")};
    return row;
}

class Cleanup : public RequestTable {};

TEST_P(Cleanup, AnswersLogsAndRemoves) {
    check(GetParam());
}

constexpr const char* format_error = "Does not match expected format";
constexpr const char* prefix_error = "Expected directory prefix is missing";
constexpr const char* length_error = "The middle is not 29 chars";
constexpr const char* digits_error = "The middle is not all digits";
constexpr const char* end_error = "The end is not 6 chars";

const std::vector<RequestCase> rejections = {
    rejection_of_a_directory("OtherName", "/tmp/logs", format_error),
    rejection_of_a_directory("TwoPieces", "/tmp/zmla-" + middle, format_error),
    rejection_of_a_directory("FourPieces", good + "-x", format_error),
    rejection_of_a_directory("DashAtTheEnd", good + "-", format_error),
    rejection_of_a_directory("NoDashBeforeTheEnd", "/tmp/zmla-" + middle + "abcdef", format_error),
    rejection("TrailingSlash", good + "/", format_error),
    rejection("Root", "/", format_error),
    rejection("ParentAfterTheName", good + "/..", format_error),
    rejection_of_a_directory("PrefixInUpperCase", "/tmp/ZMLA-" + middle + "-abcdef", prefix_error),
    rejection_of_a_directory("LongerPrefix", "/tmp/xzmla-" + middle + "-abcdef", prefix_error),
    rejection_of_a_directory("EmptyPrefix", "/tmp/-" + middle + "-abcdef", prefix_error),
    rejection("RelativePathWithAFolder", "tmp/" + good_name, prefix_error),
    rejection("RelativePathFromTheParent", "../" + good_name, prefix_error),
    rejection_of_a_directory("ShortMiddle", "/tmp/zmla-1234-abcdef", length_error),
    rejection_of_a_directory("MiddleOf28", "/tmp/zmla-" + middle.substr(1) + "-abcdef", length_error),
    rejection_of_a_directory("MiddleOf30", "/tmp/zmla-" + middle + "0-abcdef", length_error),
    rejection_of_a_directory("LetterInTheMiddle", "/tmp/zmla-" + middle.substr(1) + "a-abcdef", digits_error),
    rejection_of_a_directory("SpaceInTheMiddle", "/tmp/zmla- " + middle.substr(1) + "-abcdef", digits_error),
    rejection_of_a_directory("EndOf5", "/tmp/zmla-" + middle + "-abcde", end_error),
    rejection_of_a_directory("EndOf7", "/tmp/zmla-" + middle + "-abcdefg", end_error),
    rejection_of_a_directory("EmptyEnd", "/tmp/zmla-" + middle + "-", end_error),
    rejection("EndOf6WithATrailingSpace", "/tmp/zmla-" + middle + "-abcde ", end_error),
};

INSTANTIATE_TEST_SUITE_P(Rejection, Cleanup, testing::ValuesIn(rejections), name_of_row);

const std::vector<RequestCase> removals = {
    {.name = "NoDirectory", .request = {"CLEANUP"}},
    {
        .name = "EmptyArgument",
        .request = {"CLEANUP", ""},
        .answer = refused + "\n",
        .status = 5820,
        .log = {{error, "is_valid_zmladir", "Directory path is empty!"}, result("", 1, 5820, refused)},
    },
    {
        .name = "DirectoryWithFiles",
        .request = {"CLEANUP", good},
        .before = {file(good + "/one"), file(good + "/.two"), soft_link(good + "/three", "/etc/hosts")},
        .answer = cleaned + good + "\n",
        .log = {valid(good), removing(good), result(good, 1, 0, cleaned + good)},
        .after = {missing(good), folder("/tmp")},
    },
    {
        .name = "EmptyDirectory",
        .request = {"CLEANUP", good},
        .before = {folder(good)},
        .answer = cleaned + good + "\n",
        .log = {valid(good), removing(good), result(good, 1, 0, cleaned + good)},
        .after = {missing(good)},
    },
    {
        .name = "DirectoryAnywhereWithAnyCharactersAtTheEnd",
        .request = {"CLEANUP", other},
        .before = {file(other + "/one")},
        .answer = cleaned + other + "\n",
        .log = {valid(other), removing(other), result(other, 1, 0, cleaned + other)},
        .after = {missing(other), empty_folder("/opt/deep/er")},
    },
    {
        .name = "MissingDirectory",
        .request = {"CLEANUP", good},
        .answer = failed + good + ": " + strerror(ENOENT) + "\n",
        .status = 5784,
        .log = {valid(good), removal_failed("Failed to open dir: " + good, ENOENT),
                result(good, 1, 5784, failed + good + ": " + strerror(ENOENT))},
    },
    {
        .name = "FileWithTheName",
        .request = {"CLEANUP", good},
        .before = {file(good, "kept")},
        .answer = failed + good + ": " + strerror(ENOTDIR) + "\n",
        .status = 5784,
        .log = {valid(good), removal_failed("Failed to open dir: " + good, ENOTDIR),
                result(good, 1, 5784, failed + good + ": " + strerror(ENOTDIR))},
        .after = {file(good, "kept")},
    },
    {
        .name = "LeadingSpaceThatTheNameTestIgnores",
        .request = {"CLEANUP", " " + good},
        .before = {file(good + "/file")},
        .answer = failed + " " + good + ": " + strerror(ENOENT) + "\n",
        .status = 5784,
        .log = {valid(" " + good), removal_failed("Failed to open dir:  " + good, ENOENT),
                result(" " + good, 1, 5784, failed + " " + good + ": " + strerror(ENOENT))},
        .after = {folder(good)},
    },
    {
        .name = "DirectoryWithAFolder",
        .request = {"CLEANUP", good},
        .before = {file(good + "/folder/file", "kept")},
        .answer = failed + good + ": <text>\n",
        .status = 5784,
        .log = {valid(good),
                removing(good),
                {warning, "remove_directory", "not removing internal dir (" + good + "/folder)"},
                not_removed(good + "/folder"),
                result(good, 1, 5784, failed + good + ": <text>")},
        .after = {file(good + "/folder/file", "kept")},
    },
    {
        .name = "LinkToAFolder",
        .request = {"CLEANUP", good},
        .before = {file("/tmp/folder/file", "kept"), folder(good), soft_link(good + "/link", "/tmp/folder")},
        .answer = failed + good + ": <text>\n",
        .status = 5784,
        .log = {valid(good),
                removing(good),
                {warning, "remove_directory", "not removing internal dir (" + good + "/link)"},
                not_removed(good + "/link"),
                result(good, 1, 5784, failed + good + ": <text>")},
        .after = {file("/tmp/folder/file", "kept"), soft_link(good + "/link", "/tmp/folder")},
    },
    {
        .name = "LinkToAFileButNotTheFile",
        .request = {"CLEANUP", good},
        .before = {file("/tmp/file", "kept"), folder(good), soft_link(good + "/link", "/tmp/file")},
        .answer = cleaned + good + "\n",
        .log = {valid(good), removing(good), result(good, 1, 0, cleaned + good)},
        .after = {file("/tmp/file", "kept"), missing(good)},
    },
    {
        .name = "DanglingLink",
        .request = {"CLEANUP", good},
        .before = {file(good + "/file"), soft_link(good + "/link", "/missing")},
        .answer = failed + good + ": " + strerror(ENOTEMPTY) + "\n",
        .status = 5784,
        .log = {valid(good), removing(good), removal_failed("cannot access " + good + "/link", ENOENT),
                removal_failed("rmdir failed DIR=" + good, ENOTEMPTY),
                result(good, 1, 5784, failed + good + ": " + strerror(ENOTEMPTY))},
        .after = {missing(good + "/file"), soft_link(good + "/link", "/missing")},
    },
    {
        .name = "LinkWithTheName",
        .request = {"CLEANUP", good_in_opt},
        .before = {file("/tmp/real/file"), soft_link(good_in_opt, "/tmp/real")},
        .answer = failed + good_in_opt + ": " + strerror(ENOTDIR) + "\n",
        .status = 5784,
        .log = {valid(good_in_opt), removing(good_in_opt), removal_failed("rmdir failed DIR=" + good_in_opt, ENOTDIR),
                result(good_in_opt, 1, 5784, failed + good_in_opt + ": " + strerror(ENOTDIR))},
        .after = {soft_link(good_in_opt, "/tmp/real"), empty_folder("/tmp/real")},
    },
    {
        .name = "LinkWithTheNameInADirectoryThatEverybodyWrites",
        .request = {"CLEANUP", good},
        .before = {file("/opt/real/file", "kept"), soft_link(good, "/opt/real")},
        .answer = failed + good + ": " + strerror(ELOOP) + "\n",
        .status = 5784,
        .log = {valid(good), removal_failed("Failed to open dir: " + good, ELOOP),
                result(good, 1, 5784, failed + good + ": " + strerror(ELOOP))},
        .after = {soft_link(good, "/opt/real"), file("/opt/real/file", "kept")},
    },
    {
        .name = "LinksInADirectoryThatEverybodyWrites",
        .request = {"CLEANUP", good},
        .before = {file("/opt/file", "kept"), file(good + "/file"), soft_link(good + "/link", "/opt/file")},
        .prepare = [] { set_mode(good, 0777); },
        .answer = failed + good + ": " + strerror(ENOTEMPTY) + "\n",
        .status = 5784,
        .log = {valid(good), removing(good), removal_failed("cannot access " + good + "/link", ELOOP),
                removal_failed("rmdir failed DIR=" + good, ENOTEMPTY),
                result(good, 1, 5784, failed + good + ": " + strerror(ENOTEMPTY))},
        .after = {missing(good + "/file"), soft_link(good + "/link", "/opt/file"), file("/opt/file", "kept")},
    },
    {
        .name = "LaterSuccessThatHidesAFailure",
        .request = {"CLEANUP", "/tmp/logs", good},
        .before = {folder(good)},
        .answer = refused + "/tmp/logs\n" + cleaned + good + "\n",
        .log = {{error, "is_valid_zmladir", std::string("Invalid directory (ERR=") + format_error + "): /tmp/logs"},
                result("/tmp/logs", 1, 5820, refused + "/tmp/logs"),
                valid(good),
                removing(good),
                result(good, 2, 0, cleaned + good)},
        .after = {missing(good)},
    },
    {
        .name = "FailureOfTheLast",
        .request = {"CLEANUP", good, "/tmp/logs"},
        .before = {folder(good)},
        .answer = cleaned + good + "\n" + refused + "/tmp/logs\n",
        .status = 5820,
        .log = {valid(good),
                removing(good),
                result(good, 1, 0, cleaned + good),
                {error, "is_valid_zmladir", std::string("Invalid directory (ERR=") + format_error + "): /tmp/logs"},
                result("/tmp/logs", 2, 5820, refused + "/tmp/logs")},
        .after = {missing(good)},
    },
};

INSTANTIATE_TEST_SUITE_P(Removal, Cleanup, testing::ValuesIn(removals), name_of_row);

class CleanupRequest : public ProductTest {};

TEST_F(CleanupRequest, AcceptsABareNameInTheWorkingFolder) {
    make_folder(good);
    AgentOptions options;
    options.working_folder = "/tmp";
    const AgentRun run = run_agent({"CLEANUP", good_name}, options);
    EXPECT_EQ(run.output(), cleaned + good_name + "\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_FALSE(exists(good));
}

TEST_F(CleanupRequest, RemovesAFileOver2Gigabytes) {
    write_file(good + "/large", "");
    std::filesystem::resize_file(good + "/large", std::uintmax_t{3} << 30);
    const AgentRun run = run_agent({"CLEANUP", good});
    EXPECT_EQ(run.output(), cleaned + good + "\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_FALSE(exists(good));
}

TEST_F(CleanupRequest, AcceptsTheNameAfterABackslash) {
    const std::string directory = "C:\\logs\\" + good_name;
    make_folder("/tmp/" + directory);
    AgentOptions options;
    options.working_folder = "/tmp";
    const AgentRun run = run_agent({"CLEANUP", directory}, options);
    EXPECT_EQ(run.output(), cleaned + directory + "\n");
    EXPECT_FALSE(exists("/tmp/" + directory));
}

TEST_F(CleanupRequest, StopsWhenItsAnswerCannotBeSent) {
    make_folder(good);
    make_folder(good.substr(0, good.size() - 1) + "g");
    const AgentRun run = run_agent_without_peer({"CLEANUP", good, good.substr(0, good.size() - 1) + "g"});
    EXPECT_EQ(run.exit_status(), 5796 & 0xff);
    EXPECT_FALSE(exists(good));
    EXPECT_TRUE(exists(good.substr(0, good.size() - 1) + "g"));
    EXPECT_THAT(run.log, LogHas({error, "perform_cleanup_zmladir", "clean up response send failed RV=5796"}));
    EXPECT_THAT(run.log, LogHas({information, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=5796"}));
}

}  // namespace
