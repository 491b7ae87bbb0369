#include "logging_config/console_properties.h"

#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls_of;
using recording_platform::messages_under;

using log_level::information;
const std::string file = "/usr/kumel/java/Debug.properties";

class ProcessJavagui : public ProductPathTest {
  protected:
    int process(const Values& values, const std::string& action) {
        return process_javagui("JAVAGUI", values, responses_, action);
    }

    Responses responses_;
};

TEST_F(ProcessJavagui, EnablesTracingAndTheDefaultMask) {
    write_file(file, "#printcmds=true\nother=1\n");
    EXPECT_EQ(process({"gui"}, "enable"), 0);
    EXPECT_EQ(read_file(file), "printcmds=true\nother=1\ndebugMask=0x00040000\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=JAVAGUI:gui STATUS=0 MSG=Set up Debug.properties\n"}));
    EXPECT_EQ(messages_under("process_javagui"), (Lines{{information, "process_javagui", responses_.at(0)}}));
}

TEST_F(ProcessJavagui, EditsOnceWithTheMaskOfTheFirstValue) {
    write_file(file, "");
    EXPECT_EQ(process({"a=0x1", "b=0x2"}, "enable"), 0);
    EXPECT_EQ(read_file(file), "printcmds=true\ndebugMask=0x1\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=JAVAGUI:a STATUS=0 MSG=Set up Debug.properties\n",
                                     "PROCESS=JAVAGUI:b STATUS=0 MSG=Set up Debug.properties\n"}));
    EXPECT_EQ(calls_of("rename").size(), 2U);
}

TEST_F(ProcessJavagui, AcceptsAnEmptyMask) {
    write_file(file, "debugMask=7\n");
    process({"a="}, "enable");
    EXPECT_EQ(read_file(file), "debugMask=\nprintcmds=true\n");
}

TEST_F(ProcessJavagui, WritesAMaskOfAnyLength) {
    write_file(file, "");
    const std::string mask(2030, '1');
    EXPECT_EQ(process({"gui=" + mask}, "enable"), 0);
    EXPECT_EQ(read_file(file), "printcmds=true\ndebugMask=" + mask + "\n");
}

TEST_F(ProcessJavagui, SplitsAtTheFirstEqualsSign) {
    write_file(file, "");
    process({"a=b=c"}, "enable");
    EXPECT_EQ(read_file(file), "printcmds=true\ndebugMask=b=c\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=JAVAGUI:a STATUS=0 MSG=Set up Debug.properties\n"}));
}

TEST_F(ProcessJavagui, CommentsBothKeysOutForDisableAndReset) {
    for (const char* action : {"disable", "reset"}) {
        write_file(file, "printcmds=true\nother=1\ndebugMask=0x1\n");
        responses_.clear();
        EXPECT_EQ(process({"gui=0x9"}, action), 0);
        EXPECT_EQ(read_file(file), "#printcmds=true\nother=1\n#debugMask=0x1\n");
        EXPECT_EQ(responses_, (Responses{"PROCESS=JAVAGUI:gui STATUS=0 MSG=Set up Debug.properties\n"}));
    }
}

TEST_F(ProcessJavagui, ReportsThatTheMaskWasNotSet) {
    write_file(file, "printcmds=true\n");
    EXPECT_EQ(process({"a", "b"}, "disable"), 0);
    const std::string notice =
        " STATUS=0 MSG=Set up Debug.properties (Parameter debugMask is not set in file " + file + ")\n";
    EXPECT_EQ(responses_, (Responses{"PROCESS=JAVAGUI:a" + notice, "PROCESS=JAVAGUI:b" + notice}));
}

TEST_F(ProcessJavagui, DropsTheNoticeThatTracingWasNotSet) {
    write_file(file, "debugMask=1\n");
    EXPECT_EQ(process({"a"}, "reset"), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=JAVAGUI:a STATUS=0 MSG=Set up Debug.properties\n"}));
    EXPECT_EQ(messages_under("unset_parameter").size(), 1U);
}

TEST_F(ProcessJavagui, ReportsTheMissingFileForEveryValue) {
    const std::string reason = " MSG=Could not open file " + file + " E=2 (No such file or directory)\n";
    EXPECT_EQ(process({"a", "b"}, "enable"), 0);
    EXPECT_EQ(process({"c"}, "disable"), 0);
    EXPECT_EQ(process({"d"}, "reset"), 0);
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=JAVAGUI:a STATUS=5803" + reason, "PROCESS=JAVAGUI:b STATUS=5803" + reason,
                         "PROCESS=JAVAGUI:c STATUS=5804" + reason, "PROCESS=JAVAGUI:d STATUS=5804" + reason}));
    EXPECT_EQ(messages_under("process_javagui").at(0), (LogLine{information, "process_javagui", responses_.at(0)}));
    EXPECT_FALSE(exists(file));
}

TEST_F(ProcessJavagui, DoesNotTryTheMaskWhenTracingCouldNotBeSet) {
    write_file(file, "");
    failures["rename"] = {EBUSY};
    EXPECT_EQ(process({"a", "b"}, "enable"), 0);
    EXPECT_EQ(calls_of("rename").size(), 1U);
    EXPECT_EQ(read_file(file + ".new"), "printcmds=true\n");
    EXPECT_TRUE(responses_.at(1).starts_with("PROCESS=JAVAGUI:b STATUS=5803 MSG=Failed to rename "));
}

TEST_F(ProcessJavagui, ReportsSuccessForAnyOtherActionAndEditsNothing) {
    write_file(file, "printcmds=true\n");
    for (const char* action : {"Enable", "", "other"}) {
        responses_.clear();
        EXPECT_EQ(process({"a", "b"}, action), 0);
        EXPECT_EQ(responses_, (Responses{"PROCESS=JAVAGUI:a STATUS=0 MSG=Set up Debug.properties\n",
                                         "PROCESS=JAVAGUI:b STATUS=0 MSG=Set up Debug.properties\n"}));
    }
    EXPECT_EQ(read_file(file), "printcmds=true\n");
}

TEST_F(ProcessJavagui, DoesNothingWithoutAValue) {
    write_file(file, "printcmds=true\n");
    EXPECT_EQ(process({}, "disable"), 0);
    EXPECT_EQ(read_file(file), "printcmds=true\n");
    EXPECT_EQ(responses_, Responses{});
    EXPECT_EQ(recording_platform::messages(), Lines{});
}

TEST_F(ProcessJavagui, CutsTheLineTo2047Characters) {
    write_file(file, "");
    const std::string name(2040, 'n');
    process({name}, "enable");
    EXPECT_EQ(responses_, (Responses{("PROCESS=JAVAGUI:" + name).substr(0, 2047)}));
}

}  // namespace
