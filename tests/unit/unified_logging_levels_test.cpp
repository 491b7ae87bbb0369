#include "logging_config/unified_logging_levels.h"

#include "tests/support/call_journal.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls;
using recording_platform::calls_of;
using recording_platform::messages;

using log_level::detail;
using log_level::error;
using log_level::information;
constexpr const char* tag = "process_ktul_loglevel";

constexpr int product = 51216;
constexpr int other_product = 58330;

class ProcessKtulLoglevel : public AgentTest {
  protected:
    int process(const Texts& values, int of_product = product) {
        return process_ktul_loglevel("KTUL", values, responses_, of_product);
    }

    static void set_defaults(int debug, int diagnostic) {
        script.levels[{product, 112}] = {.debug = debug, .diagnostic = diagnostic};
    }

    static void set_levels(unsigned long originator, int debug, int diagnostic, int of_product = product) {
        script.levels[{of_product, originator}] = {.debug = debug, .diagnostic = diagnostic};
    }

    // What was done to one originator, without the reading of the defaults.
    static Texts changes() {
        Texts found;
        for (const std::string& call : calls()) {
            if (call.starts_with("holkLogCfgSet") || call.starts_with("holkLogCfgRemove") ||
                call.starts_with("holkLogWriteCfg")) {
                found.push_back(call);
            }
        }
        return found;
    }

    Texts responses_;
};

TEST_F(ProcessKtulLoglevel, SetsTheLevelAndTheDiagnosticLevelOfAnOriginator) {
    set_defaults(1, 5);
    set_levels(111, 2, 5);
    EXPECT_EQ(process({"111=4"}), 0);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=2,111=4 DIAG:111=5,111=6\n"}));
    EXPECT_EQ(calls(),
              (Texts{"holkLogReadCfg 51216 112", "holkLogCfgGetDebugLevel 51216 112",
                     "holkLogCfgGetDiagLevel 51216 112", "holkLogFreeCfg 51216 112", "holkLogReadCfg 51216 111",
                     "holkLogCfgGetDebugLevel 51216 111", "holkLogCfgGetDiagLevel 51216 111",
                     "holkLogCfgSetDebugLevel 51216 111 4", "holkLogCfgSetDiagLevel 51216 111 6",
                     "holkLogWriteCfg 51216 111 51216 111", "holkLogFreeCfg 51216 111"}));
    EXPECT_EQ(messages(), (Lines{{detail, tag, "Default DbgLvl=1 DiagLvl=5"},
                                 {detail, tag, "Current setting P=51216 O=111 DbgLvl=2"},
                                 {detail, tag, "Current setting P=51216 O=111 DiagLvl=5"},
                                 {information, tag, responses_.at(0)}}));
}

TEST_F(ProcessKtulLoglevel, LogsWhatItReadsAndRemovesRightAfterwards) {
    set_levels(111, 2, 5);
    process({"111=1"});
    Texts steps;
    for (const call_journal::Entry& entry : call_journal::entries()) {
        steps.push_back(entry.fields.at(entry.kind == call_journal::Kind::message ? 2 : 0));
    }
    EXPECT_EQ(steps, (Texts{"holkLogReadCfg 51216 112", "holkLogCfgGetDebugLevel 51216 112",
                            "holkLogCfgGetDiagLevel 51216 112", "Default DbgLvl=1 DiagLvl=6",
                            "holkLogFreeCfg 51216 112", "holkLogReadCfg 51216 111", "holkLogCfgGetDebugLevel 51216 111",
                            "Current setting P=51216 O=111 DbgLvl=2", "holkLogCfgGetDiagLevel 51216 111",
                            "Current setting P=51216 O=111 DiagLvl=5", "holkLogCfgRemoveSettings 51216 111 32",
                            "Removing '111.DebugLevel' line", "holkLogCfgRemoveSettings 51216 111 64",
                            "Removing '111.DiagnosticLevel' line", "holkLogWriteCfg 51216 111 51216 111",
                            responses_.at(0), "holkLogFreeCfg 51216 111"}));
}

TEST_F(ProcessKtulLoglevel, SetsLevelSixForAnOriginatorWithoutALevel) {
    EXPECT_EQ(process({"111"}), 0);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=1,111=6 DIAG:111=6,111=6\n"}));
    EXPECT_EQ(changes(), (Texts{"holkLogCfgSetDebugLevel 51216 111 6", "holkLogWriteCfg 51216 111 51216 111"}));
}

TEST_F(ProcessKtulLoglevel, ReadsNoDefaultsForAnotherProduct) {
    for (const int another : {58330, 60385}) {
        recording_platform::reset();
        EXPECT_EQ(process({"111=4"}, another), 0);
        EXPECT_EQ(calls_of("holkLogReadCfg"), (Texts{"holkLogReadCfg " + std::to_string(another) + " 111"}));
    }
}

TEST_F(ProcessKtulLoglevel, ReadsTheDefaultsEvenWithoutAValue) {
    EXPECT_EQ(process({}), 0);
    EXPECT_EQ(responses_, Texts{});
    EXPECT_EQ(changes(), Texts{});
    EXPECT_EQ(messages(), (Lines{{detail, tag, "Default DbgLvl=1 DiagLvl=6"}}));
}

TEST_F(ProcessKtulLoglevel, UsesOneAndSixWhenNoLevelIsStored) {
    EXPECT_EQ(process({"111=3"}, other_product), 0);
    EXPECT_EQ(messages().at(0), (LogLine{detail, tag, "Current setting P=58330 O=111 DbgLvl=1"}));
    EXPECT_EQ(messages().at(1), (LogLine{detail, tag, "Current setting P=58330 O=111 DiagLvl=6"}));
}

TEST_F(ProcessKtulLoglevel, RemovesTheDebugLevelWhenOneIsTheDefault) {
    set_levels(111, 5, 6);
    EXPECT_EQ(process({"111=1"}), 0);
    EXPECT_EQ(changes(), (Texts{"holkLogCfgRemoveSettings 51216 111 32", "holkLogWriteCfg 51216 111 51216 111"}));
    EXPECT_EQ(messages().at(3), (LogLine{detail, tag, "Removing '111.DebugLevel' line"}));
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=5,111=1 DIAG:111=6,111=6\n"}));
}

TEST_F(ProcessKtulLoglevel, WritesTheDebugLevelOneWhenTheDefaultIsAnother) {
    set_defaults(3, 6);
    set_levels(111, 5, 6);
    EXPECT_EQ(process({"111=1"}), 0);
    EXPECT_EQ(changes().at(0), "holkLogCfgSetDebugLevel 51216 111 1");
}

TEST_F(ProcessKtulLoglevel, WritesADefaultLevelThatIsNotOne) {
    set_defaults(3, 6);
    set_levels(111, 5, 6);
    EXPECT_EQ(process({"111=3"}), 0);
    EXPECT_EQ(changes().at(0), "holkLogCfgSetDebugLevel 51216 111 3");
}

TEST_F(ProcessKtulLoglevel, WritesTheDebugLevelOneForAnotherProduct) {
    set_levels(111, 5, 5, other_product);
    EXPECT_EQ(process({"111=1"}, other_product), 0);
    EXPECT_EQ(changes(), (Texts{"holkLogCfgSetDebugLevel 58330 111 1", "holkLogCfgSetDiagLevel 58330 111 6",
                                "holkLogWriteCfg 58330 111 58330 111"}));
}

TEST_F(ProcessKtulLoglevel, UsesOneAndSixWhenTheDefaultsCannotBeRead) {
    script.unloadable_originators = {{product, 112}};
    set_defaults(3, 5);
    set_levels(111, 5, 5);
    EXPECT_EQ(process({"111=1"}), 0);
    EXPECT_EQ(changes(), (Texts{"holkLogCfgRemoveSettings 51216 111 32", "holkLogCfgRemoveSettings 51216 111 64",
                                "holkLogWriteCfg 51216 111 51216 111"}));
    EXPECT_EQ(messages().at(0), (LogLine{detail, tag, "Current setting P=51216 O=111 DbgLvl=5"}));
}

TEST_F(ProcessKtulLoglevel, RemovesTheDiagnosticLevelWhenSixIsTheDefault) {
    set_levels(111, 4, 2);
    EXPECT_EQ(process({"111=4"}), 0);
    EXPECT_EQ(changes(), (Texts{"holkLogCfgRemoveSettings 51216 111 64", "holkLogWriteCfg 51216 111 51216 111"}));
    EXPECT_EQ(messages().at(3), (LogLine{detail, tag, "Removing '111.DiagnosticLevel' line"}));
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=4,111=4 DIAG:111=2,111=6\n"}));
}

TEST_F(ProcessKtulLoglevel, WritesNothingForLevelsThatAreAlreadySet) {
    set_levels(111, 4, 6);
    EXPECT_EQ(process({"111=4"}), 0);
    EXPECT_EQ(changes(), Texts{});
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=4,111=4 DIAG:111=6,111=6\n"}));
    EXPECT_EQ(messages().at(3), (LogLine{information, tag, "No change required PID=51216 OID=111 [4, 6]"}));
    EXPECT_EQ(messages().at(4), (LogLine{information, tag, responses_.at(0)}));
}

TEST_F(ProcessKtulLoglevel, NeverTouchesTheDiagnosticLevelOfOriginator156) {
    set_levels(156, 3, 2);
    EXPECT_EQ(process({"156=0"}), 0);
    EXPECT_EQ(changes(), (Texts{"holkLogCfgSetDebugLevel 51216 156 0", "holkLogWriteCfg 51216 156 51216 156"}));
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:156 STATUS=0 MSG=DEBUG:156=3,156=0 DIAG:156=2,156=6\n"}));
}

TEST_F(ProcessKtulLoglevel, WritesOriginator156WithoutAChangeWhenItsDiagnosticLevelIsNotSix) {
    set_levels(156, 3, 2);
    EXPECT_EQ(process({"156=3"}), 0);
    EXPECT_EQ(changes(), (Texts{"holkLogWriteCfg 51216 156 51216 156"}));
}

TEST_F(ProcessKtulLoglevel, Returns5772ForAnOriginatorThatCannotBeLoaded) {
    script.unloadable_originators = {{product, 111}};
    EXPECT_EQ(process({"111=4"}), 5772);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=1 MSG=Failed to load KtUL CFG OID=111 Product ID=51216\n"}));
    EXPECT_EQ(messages().back(), (LogLine{error, tag, responses_.at(0)}));
    EXPECT_EQ(changes(), Texts{});
}

TEST_F(ProcessKtulLoglevel, ContinuesAfterAnOriginatorThatCannotBeLoadedAndReturnsItsStatus) {
    script.unloadable_originators = {{product, 111}};
    EXPECT_EQ(process({"111=4", "117=4"}), 5772);
    ASSERT_EQ(responses_.size(), 2U);
    EXPECT_EQ(responses_[1], "PROCESS=KTUL:117 STATUS=0 MSG=DEBUG:117=1,117=4 DIAG:117=6,117=6\n");
}

TEST_F(ProcessKtulLoglevel, ReportsThatTheDebugLevelCouldNotBeSet) {
    set_levels(111, 2, 2);
    script.debug_level_not_set = 22;
    EXPECT_EQ(process({"111=9", "112=9"}), 0);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=1 MSG=failed to set debug level RV=22 LVL=9\n",
                                 "PROCESS=KTUL:112 STATUS=1 MSG=failed to set debug level RV=22 LVL=9\n"}));
    EXPECT_EQ(changes(), (Texts{"holkLogCfgSetDebugLevel 51216 111 9", "holkLogCfgSetDebugLevel 51216 112 9"}));
    EXPECT_EQ(messages().back(), (LogLine{error, tag, responses_.at(1)}));
}

TEST_F(ProcessKtulLoglevel, ReportsThatTheDebugLevelCouldNotBeRemoved) {
    set_levels(111, 2, 2);
    script.settings_not_removed = 7;
    EXPECT_EQ(process({"111=1"}), 0);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=1 MSG=failed to set debug level RV=7 LVL=1\n"}));
    EXPECT_EQ(changes(), (Texts{"holkLogCfgRemoveSettings 51216 111 32"}));
    EXPECT_EQ(messages().at(3), (LogLine{detail, tag, "Removing '111.DebugLevel' line"}));
}

TEST_F(ProcessKtulLoglevel, IgnoresThatTheDiagnosticLevelCouldNotBeSetOrRemoved) {
    script.diagnostic_level_not_set = 22;
    script.settings_not_removed = 22;
    set_levels(111, 4, 2);
    set_levels(111, 4, 2, other_product);
    EXPECT_EQ(process({"111=4"}), 0);
    EXPECT_EQ(process({"111=4"}, other_product), 0);
    const std::string line = "PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=4,111=4 DIAG:111=2,111=6\n";
    EXPECT_EQ(responses_, (Texts{line, line}));
}

TEST_F(ProcessKtulLoglevel, ReportsThatTheLevelsCouldNotBeWritten) {
    script.levels_not_written = 28;
    EXPECT_EQ(process({"111=4", "117=5"}), 0);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=1 MSG=failed to write ktul cfg RV=28 LVL=4\n",
                                 "PROCESS=KTUL:117 STATUS=1 MSG=failed to write ktul cfg RV=28 LVL=5\n"}));
    EXPECT_EQ(messages().back(), (LogLine{error, tag, responses_.at(1)}));
}

TEST_F(ProcessKtulLoglevel, ReleasesEachHandleOnceAfterAnyFailure) {
    script.levels_not_written = 28;
    set_levels(3, 6, 6);
    process({"1", "2", "3"});
    EXPECT_EQ(calls_of("holkLogFreeCfg"), (Texts{"holkLogFreeCfg 51216 112", "holkLogFreeCfg 51216 1",
                                                 "holkLogFreeCfg 51216 2", "holkLogFreeCfg 51216 3"}));
}

TEST_F(ProcessKtulLoglevel, ReadsTextWithoutANumberAsZero) {
    EXPECT_EQ(process({"abc", "", "111=", "111=x"}, other_product), 0);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:0 STATUS=0 MSG=DEBUG:0=1,0=6 DIAG:0=6,0=6\n",
                                 "PROCESS=KTUL:0 STATUS=0 MSG=DEBUG:0=1,0=6 DIAG:0=6,0=6\n",
                                 "PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=1,111=0 DIAG:111=6,111=6\n",
                                 "PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=1,111=0 DIAG:111=6,111=6\n"}));
}

TEST_F(ProcessKtulLoglevel, ReadsTheNumberThatBeginsTheText) {
    EXPECT_EQ(process({" 111x= 5y"}, other_product), 0);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:111 STATUS=0 MSG=DEBUG:111=1,111=5 DIAG:111=6,111=6\n"}));
}

TEST_F(ProcessKtulLoglevel, ReadsNumbersInDecimal) {
    EXPECT_EQ(process({"010=012", "0x1f=0x1f"}, other_product), 0);
    EXPECT_EQ(responses_, (Texts{"PROCESS=KTUL:10 STATUS=0 MSG=DEBUG:10=1,10=12 DIAG:10=6,10=6\n",
                                 "PROCESS=KTUL:0 STATUS=0 MSG=DEBUG:0=1,0=0 DIAG:0=6,0=6\n"}));
}

TEST_F(ProcessKtulLoglevel, SplitsAtTheFirstEqualsSign) {
    EXPECT_EQ(process({"111=5=4"}, other_product), 0);
    EXPECT_EQ(changes().at(0), "holkLogCfgSetDebugLevel 58330 111 5");
}

TEST_F(ProcessKtulLoglevel, KeepsTheLow32BitsOfAnOriginatorAndLogsThemSigned) {
    EXPECT_EQ(process({"4294967407=2", "-1=2"}, other_product), 0);
    EXPECT_EQ(calls_of("holkLogReadCfg"), (Texts{"holkLogReadCfg 58330 111", "holkLogReadCfg 58330 4294967295"}));
    EXPECT_EQ(responses_.at(1), "PROCESS=KTUL:-1 STATUS=0 MSG=DEBUG:-1=1,-1=2 DIAG:-1=6,-1=6\n");
}

TEST_F(ProcessKtulLoglevel, PassesANegativeLevelOn) {
    EXPECT_EQ(process({"111=-1"}), 0);
    EXPECT_EQ(changes().at(0), "holkLogCfgSetDebugLevel 51216 111 -1");
}

TEST_F(ProcessKtulLoglevel, CutsALineTo1023Characters) {
    const std::string category(2000, 'C');
    EXPECT_EQ(process_ktul_loglevel(category, {"1"}, responses_, other_product), 0);
    EXPECT_EQ(responses_, (Texts{("PROCESS=" + category).substr(0, 1023)}));
}

TEST_F(ProcessKtulLoglevel, CutsTheLineOfEachFailureTo1023Characters) {
    const std::string category(2000, 'C');
    script.unloadable_originators = {{other_product, 1}};
    process_ktul_loglevel(category, {"1"}, responses_, other_product);
    script.levels_not_written = 28;
    process_ktul_loglevel(category, {"2"}, responses_, other_product);
    script.debug_level_not_set = 22;
    process_ktul_loglevel(category, {"3"}, responses_, other_product);
    EXPECT_EQ(responses_, Texts(3, ("PROCESS=" + category).substr(0, 1023)));
}

TEST_F(ProcessKtulLoglevel, LogsAnOriginatorAsASignedNumberAfterAnyFailure) {
    constexpr unsigned long originator = 0xffffffff;
    set_levels(originator, 3, 6);
    EXPECT_EQ(process({"-1=3"}), 0);
    EXPECT_EQ(process({"-1=1"}), 0);
    script.levels_not_written = 28;
    EXPECT_EQ(process({"-1=4"}), 0);
    script.debug_level_not_set = 22;
    EXPECT_EQ(process({"-1=4"}), 0);
    script.unloadable_originators = {{product, originator}};
    EXPECT_EQ(process({"-1=4"}), 5772);
    EXPECT_EQ(responses_.size(), 5U);
    for (const std::string& line : responses_) {
        EXPECT_TRUE(line.starts_with("PROCESS=KTUL:-1 STATUS=")) << line;
    }
    std::string all;
    for (const LogLine& message : messages()) {
        all += message.text;
    }
    EXPECT_NE(all.find("'-1.DebugLevel'"), std::string::npos);
    EXPECT_EQ(all.find(std::to_string(originator)), std::string::npos) << all;
}

TEST_F(ProcessKtulLoglevel, AppendsToTheResponsesOfEarlierCategories) {
    responses_ = {"earlier\n"};
    process({"1"}, other_product);
    EXPECT_EQ(responses_.size(), 2U);
    EXPECT_EQ(responses_.at(0), "earlier\n");
}

}  // namespace
