// The agent removes the temporary directory of a collection that failed.
#include <string>

#include "tests/unit/agent_lifecycle.h"

namespace {

using log_level::error;
using log_level::information;
using log_level::warning;
using recording_platform::child_messages_under;

class FailedCollection : public AgentLifecycle {
  protected:
    const std::string temporary_ = logs + "/zmlaevidence/zmla-12345678901234567890123456789-abc123";
};

TEST_F(FailedCollection, LosesItsTemporaryDirectoryWhenTheSupportUtilityFails) {
    write_tool(support + "old_zmsu", "mkdir -p $2/below && echo x > $2/below/file && exit 5\n");
    request({"RUNZMSU"});
    EXPECT_EQ(run(), 5);
    EXPECT_FALSE(exists(temporary_));
    EXPECT_TRUE(exists(logs + "/zmlaevidence"));
    EXPECT_EQ(child_messages_under(program).at(0),
              (LogLine{error, program, "Received NSC=5 (text of 5). Cleanup required"}));
    EXPECT_EQ(child_messages_under("perform_cleanup_on_failure"),
              (Lines{{information, "perform_cleanup_on_failure", "cleaning up: " + temporary_}}));
}

TEST_F(FailedCollection, LosesItsTemporaryDirectoryWhenTheLogCopierFails) {
    write_tool(support + "zmcplogs", "mkdir $1 && exit 6\n");
    request({"RUNZMCPLOGS"});
    EXPECT_EQ(run(), 6);
    EXPECT_FALSE(exists(temporary_));
}

TEST_F(FailedCollection, CleansUpBeforeTheStatusLineAndKeepsTheStatus) {
    write_tool(support + "zmcplogs", "exit 6\n");
    request({"RUNZMCPLOGS"});
    EXPECT_EQ(run(), 6);
    EXPECT_EQ(socket_.received(), "\nEXIT STATUS 6 text of 6\n");
    const std::string closing = "closing peer SOCK (" + number(next_descriptor()) + ") in QAS NSC=6";
    EXPECT_EQ(child_messages_under(program), (Lines{{error, program, "Received NSC=6 (text of 6). Cleanup required"},
                                                    {information, program, closing}}));
    EXPECT_EQ(
        child_messages_under("remove_directory"),
        (Lines{{error, "remove_directory", "Failed to open dir: " + temporary_ + " E=2 (No such file or directory)"}}));
}

TEST_F(FailedCollection, RemovesNothingWhenTheToolNeverRan) {
    remove_tree(logs);
    for (const std::string word : {"RUNZMSU", "RUNZMCPLOGS", "CALCLOGSIZE"}) {
        request({word});
        EXPECT_EQ(run(), 5811 % 256) << word;
        EXPECT_EQ(child_messages_under(program).at(0),
                  (LogLine{error, program, "Received NSC=5811 (text of 5811). Cleanup required"}));
        EXPECT_EQ(child_messages_under("perform_cleanup_on_failure"),
                  (Lines{{warning, "perform_cleanup_on_failure", "Directory string is empty"}}));
        EXPECT_EQ(child_messages_under("remove_directory"), Lines{});
    }
}

TEST_F(FailedCollection, IsNotCleanedUpAfterASuccess) {
    write_tool(support + "zmcplogs", "mkdir $1\n");
    request({"RUNZMCPLOGS"});
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(exists(temporary_));
    EXPECT_EQ(child_messages_under("perform_cleanup_on_failure"), Lines{});
}

}  // namespace
