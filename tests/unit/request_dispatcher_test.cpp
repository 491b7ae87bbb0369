#include "commands/request_dispatcher.h"

#include "agent/globals.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages;
using recording_platform::messages_under;

using log_level::error;
using log_level::information;
const std::string support = "/usr/kumel/zembrath/bin/support/";
const std::string evidence = "/usr/kumel/zembrath/logs/zmlaevidence";
const std::string temporary_name_part = "/zmla-12345678901234567890123456789-abc123";

class PerformRequestSendOutput : public ProductPathTest {
  protected:
    PerformRequestSendOutput() { make_folder("/usr/kumel/zembrath/logs"); }

    int perform(const RequestVector& request) {
        return call_that_forks([&] { return perform_request_send_output(request, socket_.agent()); });
    }

    // statvfs reports a file system of 8 MiB, 4 of them free.
    static void tell_space() {
        struct statvfs space {};
        space.f_bsize = 1U << 20U;
        space.f_bavail = 4;
        space.f_blocks = 8;
        overrides.file_system = space;
    }

    static std::string space_line(const std::string& target) {
        return "CALCLOGSIZE: TARGET_DIR=" + target + " FREE_SPACE=4 MB TOTAL_SPACE=8 MB\n";
    }

    const std::string temporary_ = evidence + temporary_name_part;
    AgentConnection socket_;
};

TEST_F(PerformRequestSendOutput, PassesItsActionToEachLoggingRequest) {
    EXPECT_EQ(perform({"ENABLELOGGING"}), 0);
    EXPECT_EQ(perform({"DISABLELOGGING"}), 0);
    EXPECT_EQ(perform({"RESETLOGGING"}), 0);
    EXPECT_EQ(messages(), (Lines{{information, "handle_logging", "enable logging C=ENABLELOGGING"},
                                 {information, "handle_logging", "disable logging C=DISABLELOGGING"},
                                 {information, "handle_logging", "reset logging C=RESETLOGGING"}}));
}

TEST_F(PerformRequestSendOutput, ReturnsTheStatusOfALoggingRequest) {
    EXPECT_EQ(perform({"ENABLELOGGING", "ZMKTUL"}), 5822);
}

TEST_F(PerformRequestSendOutput, RunsTheLogCopierWithTheTemporaryDirectoryLast) {
    write_tool(support + "zmcplogs", "echo \"$@\"\nexit 4\n");
    EXPECT_EQ(perform({"RUNZMCPLOGS", "-x"}), 4);
    EXPECT_EQ(socket_.received(), "-x " + temporary_ + "\n\n");
    EXPECT_EQ(g_termdir, temporary_);
    EXPECT_TRUE(exists(evidence));
}

TEST_F(PerformRequestSendOutput, RunsTheLogCopierWithoutTheOptionForItsDirectory) {
    write_tool(support + "zmcplogs", "echo \"$@\"\n");
    EXPECT_EQ(perform({"RUNZMCPLOGS", "--collectdir", "/usr/kumel/dir", "-x"}), 0);
    EXPECT_EQ(socket_.received(), "-x /usr/kumel/dir" + temporary_name_part + "\n\n");
    EXPECT_EQ(g_termdir, "/usr/kumel/dir" + temporary_name_part);
    EXPECT_FALSE(exists(evidence));
}

TEST_F(PerformRequestSendOutput, DoesNotChangeTheRequest) {
    write_tool(support + "zmcplogs", "");
    const RequestVector request = {"RUNZMCPLOGS", "--collectdir", "/usr/kumel/dir", "-x"};
    perform(request);
    EXPECT_EQ(request, (RequestVector{"RUNZMCPLOGS", "--collectdir", "/usr/kumel/dir", "-x"}));
}

TEST_F(PerformRequestSendOutput, RunsNothingWithoutACollectionDirectory) {
    write_tool(support + "zmcplogs", "echo ran\n");
    write_tool(support + "old_zmsu", "echo ran\n");
    for (const char* word : {"RUNZMCPLOGS", "RUNZMSU", "CALCLOGSIZE"}) {
        EXPECT_EQ(perform({word, "--collectdir", "/usr/kumel/missing/dir"}), 5811) << word;
        EXPECT_EQ(g_termdir, "");
        EXPECT_EQ(socket_.received(), "");
    }
}

TEST_F(PerformRequestSendOutput, RunsTheSupportUtilityAndListsItsOutput) {
    write_tool(support + "old_zmsu", "echo \"$@\"\nmkdir $3 $3/below && echo x > $3/package\n");
    EXPECT_EQ(perform({"RUNZMSU", "-x"}), 0);
    EXPECT_EQ(socket_.received(), "-x -odir " + temporary_ + "\n\nZMSU PACKAGE=" + temporary_ + "/package\n");
    EXPECT_EQ(g_termdir, temporary_);
}

TEST_F(PerformRequestSendOutput, DoesNotListTheOutputOfASupportUtilityThatFailed) {
    write_tool(support + "old_zmsu", "mkdir $2 && echo x > $2/package\nexit 7\n");
    EXPECT_EQ(perform({"RUNZMSU"}), 7);
    EXPECT_EQ(socket_.received(), "\n");
    EXPECT_EQ(messages_under("list_dir_and_send_output"), Lines{});
}

TEST_F(PerformRequestSendOutput, ReturnsTheListingsStatusOfASupportUtilityThatLeftNoDirectory) {
    write_tool(support + "old_zmsu", "");
    EXPECT_EQ(perform({"RUNZMSU"}), 5784);
}

TEST_F(PerformRequestSendOutput, ReportsTheSpaceOfTheCollectionDirectoryAndRemovesTheTemporaryOne) {
    tell_space();
    write_tool(support + "zmcplogs", "echo \"$@\"\nmkdir -p $2/below && echo x > $2/below/file\n");
    EXPECT_EQ(perform({"CALCLOGSIZE", "-s"}), 0);
    EXPECT_EQ(socket_.received(), "-s " + temporary_ + "\n\n" + space_line(evidence));
    EXPECT_FALSE(exists(temporary_));
    EXPECT_TRUE(exists(evidence));
    EXPECT_EQ(g_termdir, "");
}

TEST_F(PerformRequestSendOutput, ReturnsTheStatusOfTheSpaceQueryWhenTheToolFailed) {
    tell_space();
    write_tool(support + "zmcplogs", "mkdir $1\nexit 9\n");
    EXPECT_EQ(perform({"CALCLOGSIZE"}), 0);
    EXPECT_FALSE(exists(temporary_));
    EXPECT_EQ(messages_under("remove_directory").size(), 1U);
}

TEST_F(PerformRequestSendOutput, RemovesTheTemporaryDirectoryWhenTheSpaceQueryFailed) {
    write_tool(support + "zmcplogs", "mkdir $1\n");
    failures["statvfs"] = {EIO};
    EXPECT_EQ(perform({"CALCLOGSIZE"}), 5784);
    EXPECT_FALSE(exists(temporary_));
}

TEST_F(PerformRequestSendOutput, RemovesNothingWhenTheToolCreatedNoDirectory) {
    tell_space();
    write_tool(support + "zmcplogs", "");
    EXPECT_EQ(perform({"CALCLOGSIZE"}), 0);
    EXPECT_EQ(messages_under("remove_directory"), Lines{});
}

TEST_F(PerformRequestSendOutput, TriesToRemoveAFileWithTheTemporaryName) {
    tell_space();
    write_tool(support + "zmcplogs", ": >$1\n");
    EXPECT_EQ(perform({"CALCLOGSIZE"}), 0);
    EXPECT_EQ(messages_under("remove_directory"),
              (Lines{{error, "remove_directory", "Failed to open dir: " + temporary_ + " E=20 (Not a directory)"}}));
    EXPECT_TRUE(exists(temporary_));
}

TEST_F(PerformRequestSendOutput, TreatsADanglingLinkAsMissing) {
    tell_space();
    write_tool(support + "zmcplogs", "ln -s /missing $1\n");
    EXPECT_EQ(perform({"CALCLOGSIZE"}), 0);
    EXPECT_EQ(messages_under("remove_directory"), Lines{});
}

TEST_F(PerformRequestSendOutput, IgnoresThatTheTemporaryDirectoryCouldNotBeRemoved) {
    tell_space();
    write_tool(support + "zmcplogs", "mkdir $1\n");
    failures["rmdir"] = {EBUSY};
    EXPECT_EQ(perform({"CALCLOGSIZE"}), 0);
    EXPECT_EQ(messages_under("remove_directory").size(), 2U);
}

TEST_F(PerformRequestSendOutput, ReportsTheSpaceOfTheDirectoryThatThePeerNames) {
    tell_space();
    write_tool(support + "zmcplogs", "");
    EXPECT_EQ(perform({"CALCLOGSIZE", "--collectdir", "/usr/kumel/dir"}), 0);
    EXPECT_EQ(socket_.received(), "\n" + space_line("/usr/kumel/dir"));
}

TEST_F(PerformRequestSendOutput, ReportsTheSpaceOfEachDirectory) {
    tell_space();
    EXPECT_EQ(perform({"GETDISKSPACE", "/tmp", "/usr", "/"}), 0);
    EXPECT_EQ(socket_.received(), space_line("/tmp") + space_line("/usr") + space_line("/"));
}

TEST_F(PerformRequestSendOutput, SendsNothingForNoDirectory) {
    EXPECT_EQ(perform({"GETDISKSPACE"}), 0);
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(PerformRequestSendOutput, ReturnsTheStatusOfTheLastDirectoryAndQueriesAll) {
    tell_space();
    EXPECT_EQ(perform({"GETDISKSPACE", "/missing/x", "/tmp"}), 0);
    EXPECT_EQ(perform({"GETDISKSPACE", "/tmp", "/missing/x"}), 5784);
    EXPECT_EQ(socket_.received(), space_line("/tmp") + space_line("/tmp"));
}

TEST_F(PerformRequestSendOutput, PassesArgumentsUnchangedToTheRequestCommand) {
    write_tool(support + "zmlogadm", "printf '[%s]' \"$@\"\nexit 8\n");
    EXPECT_EQ(perform({"ZMLA", "--collectdir", "/x", "--collectdir"}), 8);
    EXPECT_EQ(socket_.received(), "[--collectdir][/x][--collectdir]\n");
    EXPECT_EQ(g_termdir, "");
}

TEST_F(PerformRequestSendOutput, CleansUp) {
    make_folder(temporary_);
    EXPECT_EQ(perform({"CLEANUP", "/tmp", evidence + "/zmla-12345678901234567890123456789-abc123"}), 0);
    EXPECT_FALSE(exists(temporary_));
    EXPECT_EQ(perform({"CLEANUP", "/tmp"}), 5820);
    EXPECT_EQ(perform({"CLEANUP"}), 0);
}

TEST_F(PerformRequestSendOutput, SucceedsForAWordWithoutAHandlerAndReportsItOnlyInTheLog) {
    for (const std::string word : {"FETCHFILE", "", "getdiskspace", "zmsu", "CLEANUP ", "%s%n"}) {
        recording_platform::reset();
        EXPECT_EQ(perform({word, "/tmp"}), 0) << word;
        EXPECT_EQ(messages(), (Lines{{error, "perform_request_send_output", "Command " + word + " is not supported"}}));
        EXPECT_EQ(socket_.received(), "");
    }
}

}  // namespace
