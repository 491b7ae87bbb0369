#include <unistd.h>

#include <cerrno>

#include "commands/collection_directories.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages_under;

using log_level::error;
using log_level::information;
constexpr const char* tag = "perform_cleanup_zmladir";
constexpr const char* check_tag = "is_valid_zmladir";
const std::string digits = "12345678901234567890123456789";
const std::string result_name = "zmla-" + digits + "-abcdef";

class CleanupRequest : public AgentTest {
  protected:
    int clean_up(const Texts& directories) {
        RequestVector request = {"CLEANUP"};
        request.insert(request.end(), directories.begin(), directories.end());
        return perform_cleanup_zmladir(request, socket_.agent());
    }

    void expect_refusal(const std::string& directory, const std::string& reason) {
        recording_platform::reset();
        EXPECT_EQ(clean_up({directory}), 5820) << directory;
        EXPECT_EQ(messages_under(check_tag),
                  (Lines{{error, check_tag, "Invalid directory (ERR=" + reason + "): " + directory}}));
        const std::string answer = "CLEANUP: Will not clean up unknown location: " + directory;
        EXPECT_EQ(messages_under(tag),
                  (Lines{{error, tag, "Cleanup result D=" + directory + " #D=1 NSC=5820 M=" + answer}}));
        EXPECT_EQ(socket_.received(), answer + "\n");
    }

    ScratchFolder folder_;
    const std::string result_ = folder_.path(result_name);
    AgentConnection socket_;
};

TEST_F(CleanupRequest, DoesNothingWithoutADirectory) {
    EXPECT_EQ(clean_up({}), 0);
    EXPECT_EQ(socket_.received(), "");
    EXPECT_EQ(recording_platform::messages(), Lines{});
}

TEST_F(CleanupRequest, RemovesACollectionResultInAnyFolder) {
    write_file(result_ + "/file", "x");
    EXPECT_EQ(clean_up({result_}), 0);
    EXPECT_FALSE(exists(result_));
    const std::string answer = "CLEANUP: Successfully cleaned up " + result_;
    EXPECT_EQ(socket_.received(), answer + "\n");
    EXPECT_EQ(messages_under(check_tag), (Lines{{information, check_tag, "Directory valid for removal: " + result_}}));
    EXPECT_EQ(messages_under(tag), (Lines{{error, tag, "Cleanup result D=" + result_ + " #D=1 NSC=0 M=" + answer}}));
}

TEST_F(CleanupRequest, LogsTheResultBeforeTheAnswerIsSent) {
    make_folder(result_);
    clean_up({result_});
    Texts order;
    for (const LogLine& line : recording_platform::messages()) {
        order.push_back(line.tag);
    }
    EXPECT_EQ(order, (Texts{check_tag, "remove_directory", tag, "socksend", "socksend"}));
}

TEST_F(CleanupRequest, RemovesAResultNamedByItsBareName) {
    make_folder(result_);
    ASSERT_EQ(chdir(folder_.path().c_str()), 0);
    EXPECT_EQ(clean_up({result_name}), 0);
    EXPECT_FALSE(exists(result_));
    ASSERT_EQ(chdir("/"), 0);
}

TEST_F(CleanupRequest, ReportsTheWholeNameOfALongArgument) {
    expect_refusal(std::string(2047, 'x'), "Does not match expected format");
}

TEST_F(CleanupRequest, AcceptsAnySixCharactersAtTheEnd) {
    const std::string odd = folder_.path("zmla-" + digits + "-% n?*\\");
    make_folder(odd);
    EXPECT_EQ(clean_up({odd}), 0);
    EXPECT_FALSE(exists(odd));
}

TEST_F(CleanupRequest, DoesNotRemoveAResultThatHoldsASubdirectory) {
    make_folder(result_ + "/below");
    EXPECT_EQ(clean_up({result_}), 5784);
    EXPECT_TRUE(exists(result_ + "/below"));
    EXPECT_EQ(socket_.received(), "CLEANUP: Failed to clean up " + result_ + ": Directory not empty\n");
    EXPECT_EQ(messages_under("remove_directory").front(),
              (LogLine{information, "remove_directory", "Removing directory (" + result_ + ") Option(0)"}));
}

TEST_F(CleanupRequest, ReportsTheErrorOfAFailedRemoval) {
    EXPECT_EQ(clean_up({result_}), 5784);
    const std::string answer = "CLEANUP: Failed to clean up " + result_ + ": No such file or directory";
    EXPECT_EQ(socket_.received(), answer + "\n");
    EXPECT_EQ(messages_under(tag), (Lines{{error, tag, "Cleanup result D=" + result_ + " #D=1 NSC=5784 M=" + answer}}));
}

TEST_F(CleanupRequest, ReportsTheErrorThatStoppedARemoval) {
    write_file(result_ + "/stuck", "");
    failures["unlink " + result_ + "/stuck"] = always(EBUSY);
    EXPECT_EQ(clean_up({result_}), 5784);
    EXPECT_EQ(socket_.received(), "CLEANUP: Failed to clean up " + result_ + ": Device or resource busy\n");
}

TEST_F(CleanupRequest, RejectsAnEmptyName) {
    EXPECT_EQ(clean_up({""}), 5820);
    EXPECT_EQ(messages_under(check_tag), (Lines{{error, check_tag, "Directory path is empty!"}}));
    EXPECT_EQ(socket_.received(), "CLEANUP: Will not clean up unknown location: \n");
}

TEST_F(CleanupRequest, RejectsANameThatHasNotThreePieces) {
    constexpr const char* reason = "Does not match expected format";
    expect_refusal("/", reason);
    expect_refusal("/tmp", reason);
    expect_refusal("/tmp/zmla-" + digits, reason);
    expect_refusal("/tmp/" + result_name + "-x", reason);
    expect_refusal("/tmp/" + result_name + "/", reason);
    expect_refusal("/tmp/zmla" + digits + "abcdef", reason);
}

TEST_F(CleanupRequest, RejectsANameWithoutThePrefix) {
    constexpr const char* reason = "Expected directory prefix is missing";
    expect_refusal("/tmp/ZMLA-" + digits + "-abcdef", reason);
    expect_refusal("/tmp/-" + digits + "-abcdef", reason);
    expect_refusal("/tmp/xzmla-" + digits + "-abcdef", reason);
}

TEST_F(CleanupRequest, ChecksTheWholeOfARelativePath) {
    expect_refusal("tmp/" + result_name, "Expected directory prefix is missing");
}

TEST_F(CleanupRequest, RejectsAMiddleOfAnotherLength) {
    constexpr const char* reason = "The middle is not 29 chars";
    expect_refusal("zmla-1234-abcdef", reason);
    expect_refusal("/tmp/zmla-" + digits + "0-abcdef", reason);
    expect_refusal("/tmp/zmla--abcdef", reason);
}

TEST_F(CleanupRequest, RejectsAMiddleThatIsNotAllDigits) {
    constexpr const char* reason = "The middle is not all digits";
    expect_refusal("/tmp/zmla-x" + digits.substr(1) + "-abcdef", reason);
    expect_refusal("/tmp/zmla-" + digits.substr(1) + ":-abcdef", reason);
    expect_refusal("/tmp/zmla-" + digits.substr(1) + " -abcdef", reason);
}

TEST_F(CleanupRequest, RejectsAMiddleWithAnyByteThatIsNotADigit) {
    for (int byte = 1; byte < 256; ++byte) {
        const char other = static_cast<char>(byte);
        // A hyphen or slash would split the name.
        if (std::string("0123456789-/").find(other) == std::string::npos) {
            expect_refusal("/tmp/zmla-" + digits.substr(1) + other + "-abcdef", "The middle is not all digits");
        }
    }
}

TEST_F(CleanupRequest, RejectsAnEndOfAnotherLength) {
    constexpr const char* reason = "The end is not 6 chars";
    expect_refusal("/tmp/zmla-" + digits + "-abcde", reason);
    expect_refusal("/tmp/zmla-" + digits + "-abcdefg", reason);
    expect_refusal("/tmp/zmla-" + digits + "-", reason);
}

TEST_F(CleanupRequest, ReportsTheFirstOfSeveralReasons) {
    expect_refusal("/tmp/other-12-x", "Expected directory prefix is missing");
    expect_refusal("/tmp/zmla-1x-x", "The middle is not 29 chars");
    expect_refusal("/tmp/zmla-" + digits.substr(1) + "x-abc", "The middle is not all digits");
}

TEST_F(CleanupRequest, TrimsBlanksOnlyForTheCheck) {
    make_folder(result_);
    EXPECT_EQ(clean_up({" " + result_}), 5784);
    EXPECT_TRUE(exists(result_));
}

TEST_F(CleanupRequest, ChecksOnlyTheLastComponent) {
    make_folder(result_ + "/x");
    expect_refusal(result_ + "/x", "Does not match expected format");
    EXPECT_TRUE(exists(result_ + "/x"));
}

TEST_F(CleanupRequest, AnswersEveryDirectoryAndReturnsTheLastStatus) {
    make_folder(result_);
    EXPECT_EQ(clean_up({"/tmp", result_}), 0);
    EXPECT_EQ(socket_.received(),
              "CLEANUP: Will not clean up unknown location: /tmp\nCLEANUP: Successfully cleaned up " + result_ + "\n");
    EXPECT_EQ(messages_under(tag).at(1),
              (LogLine{error, tag,
                       "Cleanup result D=" + result_ + " #D=2 NSC=0 M=CLEANUP: Successfully cleaned up " + result_}));
    make_folder(result_);
    EXPECT_EQ(clean_up({result_, "/tmp"}), 5820);
}

TEST_F(CleanupRequest, StopsAtOnceWhenAnAnswerCannotBeSent) {
    make_folder(result_);
    overrides.watched_descriptor = socket_.agent();
    overrides.writes = {{.accepted = 3}, {.accepted = -1, .error = EPIPE}};
    EXPECT_EQ(clean_up({"/tmp", result_}), 5796);
    EXPECT_TRUE(exists(result_));
    EXPECT_EQ(messages_under(tag).back(), (LogLine{error, tag, "clean up response send failed RV=5796"}));
    EXPECT_EQ(messages_under(tag).size(), 2U);
}

}  // namespace
