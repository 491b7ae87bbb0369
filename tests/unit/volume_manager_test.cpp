#include "logging_config/volume_manager.h"

#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages;

using log_level::error;
using log_level::information;
const std::string file = "/usr/kumel/volmgr/vm.conf";

class ProcessVmconf : public ProductPathTest {
  protected:
    int process(const Values& entries, const char* action) {
        return process_vmconf("VMCONF", entries, responses_, action);
    }

    static constexpr const char* tag = "process_vmconf";
    Responses responses_;
};

TEST_F(ProcessVmconf, EnablesOnceAndAnswersEachEntry) {
    write_file(file, "A = 1\n");
    EXPECT_EQ(process({"daemon1", "daemon2"}, "enable"), 0);
    EXPECT_EQ(read_file(file), "A = 1\nVERBOSE\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=VMCONF:daemon1 STATUS=0 MSG=Set debug logging\n",
                                     "PROCESS=VMCONF:daemon2 STATUS=0 MSG=Set debug logging\n"}));
    EXPECT_EQ(messages(), (Lines{{information, tag, responses_.at(0)}, {information, tag, responses_.at(1)}}));
    EXPECT_EQ(recording_platform::calls_of("rename").size(), 1U);
}

TEST_F(ProcessVmconf, ReplacesTheFileWithTheSameTextWhenEnabledAgain) {
    write_file(file, "VERBOSE\n");
    EXPECT_EQ(process({"d"}, "enable"), 0);
    EXPECT_EQ(read_file(file), "VERBOSE\n");
    EXPECT_EQ(recording_platform::calls_of("rename").size(), 1U);
}

TEST_F(ProcessVmconf, EnablesACommentedLine) {
    write_file(file, "#VERBOSE\n");
    process({"d"}, "enable");
    EXPECT_EQ(read_file(file), "VERBOSE\n");
}

TEST_F(ProcessVmconf, ReducesALineToTheKeyword) {
    write_file(file, "VERBOSE=2\n");
    process({"d"}, "enable");
    EXPECT_EQ(read_file(file), "VERBOSE\n");
}

TEST_F(ProcessVmconf, CommentsOutEveryLineThatBeginsWithTheKeyword) {
    for (const char* action : {"disable", "reset"}) {
        write_file(file, "VERBOSE\nA\nVERBOSE_X = 1\n VERBOSE\n");
        responses_.clear();
        EXPECT_EQ(process({"d"}, action), 0);
        EXPECT_EQ(read_file(file), "#VERBOSE\nA\n#VERBOSE_X = 1\n VERBOSE\n");
        EXPECT_EQ(responses_, (Responses{"PROCESS=VMCONF:d STATUS=0 MSG=Set debug logging\n"}));
    }
}

TEST_F(ProcessVmconf, ReportsSuccessWhenThereIsNothingToDisable) {
    for (const char* action : {"disable", "reset"}) {
        write_file(file, "#VERBOSE");
        responses_.clear();
        EXPECT_EQ(process({"d"}, action), 0);
        EXPECT_EQ(read_file(file), "#VERBOSE");
        EXPECT_EQ(responses_, (Responses{"PROCESS=VMCONF:d STATUS=0 MSG=Set debug logging\n"}));
    }
}

TEST_F(ProcessVmconf, Returns1ForAnyOtherAction) {
    write_file(file, "A\n");
    for (const std::string action : {"Enable", "ENABLE", "enabled", "", "%s%n"}) {
        recording_platform::reset();
        EXPECT_EQ(process({"d"}, action.c_str()), 1) << action;
        EXPECT_EQ(messages(), (Lines{{error, tag, "Invalid action=" + action}}));
    }
    EXPECT_EQ(responses_, Responses{});
    EXPECT_EQ(read_file(file), "A\n");
}

TEST_F(ProcessVmconf, ReportsTheMissingFileForEveryEntry) {
    EXPECT_EQ(process({"a", "b"}, "enable"), 0);
    const std::string reason = "Could not open file " + file + " E=2 (No such file or directory)\n";
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=VMCONF:a STATUS=5803 MSG=" + reason, "PROCESS=VMCONF:b STATUS=5803 MSG=" + reason}));
    EXPECT_EQ(messages().at(1), (LogLine{information, tag, responses_.at(0)}));
    EXPECT_FALSE(exists(file));
}

TEST_F(ProcessVmconf, ReportsThatTheFileIsMissingWhenDisabling) {
    for (const char* action : {"disable", "reset"}) {
        responses_.clear();
        EXPECT_EQ(process({"a"}, action), 0);
        EXPECT_EQ(responses_, (Responses{"PROCESS=VMCONF:a STATUS=5804 MSG=Could not open file " + file +
                                         " E=2 (No such file or directory)\n"}));
    }
}

TEST_F(ProcessVmconf, ReportsThatTheFileCouldNotBeReplaced) {
    write_file(file, "VERBOSE\n");
    failures["rename"] = {EBUSY};
    EXPECT_EQ(process({"a"}, "reset"), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=VMCONF:a STATUS=5804 MSG=Failed to rename " + file + ".new to " + file +
                                     " E=16 (Device or resource busy)\n"}));
}

TEST_F(ProcessVmconf, ChangesTheFileEvenWithoutAnEntry) {
    write_file(file, "");
    EXPECT_EQ(process({}, "enable"), 0);
    EXPECT_EQ(read_file(file), "VERBOSE\n");
    EXPECT_EQ(responses_, Responses{});
}

TEST_F(ProcessVmconf, NamesEntriesExactlyAsReceived) {
    write_file(file, "");
    process({" a=b ", ""}, "enable");
    EXPECT_EQ(responses_, (Responses{"PROCESS=VMCONF: a=b  STATUS=0 MSG=Set debug logging\n",
                                     "PROCESS=VMCONF: STATUS=0 MSG=Set debug logging\n"}));
}

TEST_F(ProcessVmconf, CutsTheLineTo2047Characters) {
    write_file(file, "");
    const std::string name(2030, 'n');
    process({name}, "enable");
    EXPECT_EQ(responses_, (Responses{("PROCESS=VMCONF:" + name + " STATUS=0").substr(0, 2047)}));
}

TEST_F(ProcessVmconf, CutsTheLineOfAFailureTo2047Characters) {
    const std::string name(2000, 'n');
    process({name}, "enable");
    EXPECT_EQ(responses_,
              (Responses{("PROCESS=VMCONF:" + name + " STATUS=5803 MSG=Could not open file /usr").substr(0, 2047)}));
}

}  // namespace
