#include "logging_config/main_configuration_verbosity.h"

#include "logging_config/config_file_entry.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls;
using recording_platform::messages;
using recording_platform::messages_under;

using log_level::detail;
using log_level::error;
using log_level::information;
constexpr const char* tag = "process_qrconf";

class ProcessQrconf : public AgentTest {
  protected:
    int process(const Values& entries, const char* action = "enable") {
        return process_qrconf("QRCONF", entries, responses_, action);
    }

    // The configuration text that was parsed.
    static std::string text_of(const Values& entries) {
        recording_platform::script.settings_refused = 0;
        Responses ignored;
        process_qrconf("QRCONF", entries, ignored, "enable");
        const std::string call = recording_platform::calls_of("ParseConfigExA").back();
        const std::string beginning = "ParseConfigExA ";
        const std::string end = " other record 1";
        EXPECT_TRUE(call.ends_with(end)) << call;
        return call.substr(beginning.size(), call.size() - beginning.size() - end.size());
    }

    Responses responses_;
};

TEST_F(ProcessQrconf, ParsesAndAppliesOneTextForAllEntries) {
    EXPECT_EQ(process({"tapemgr_verbose=3", "OTHER=x"}), 0);
    EXPECT_EQ(calls(), (Texts{"ParseConfigExA TAPEMGR_VERBOSE=3\nOTHER=x\n other record 1",
                              "UpdateHostConfigExA standard server TAPEMGR_VERBOSE=3\nOTHER=x\n other record 0 0 0",
                              "FreeConfig"}));
}

TEST_F(ProcessQrconf, AnswersEachEntryUnderItsNameAsReceived) {
    EXPECT_EQ(process({"tapemgr_verbose=3", "OTHER=x"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=QRCONF:tapemgr_verbose STATUS=0 MSG=Set up\n",
                                     "PROCESS=QRCONF:OTHER STATUS=0 MSG=Set up\n"}));
    EXPECT_EQ(messages(), (Lines{{detail, tag, "current global VERBOSE=0"},
                                 {information, tag, responses_.at(0)},
                                 {information, tag, responses_.at(1)}}));
}

TEST_F(ProcessQrconf, ReportsTheGlobalVerbosity) {
    script.global_verbosity = -2;
    process({});
    EXPECT_EQ(messages(), (Lines{{detail, tag, "current global VERBOSE=-2"}}));
}

TEST_F(ProcessQrconf, SetsLevelFiveForANameWithoutALevel) {
    EXPECT_EQ(text_of({"VERBOSE"}), "VERBOSE=5\n");
}

TEST_F(ProcessQrconf, AppliesAnEmptyLevelUnchanged) {
    EXPECT_EQ(text_of({"verbose="}), "VERBOSE=\n");
}

TEST_F(ProcessQrconf, TrimsNothingAndSplitsAtTheFirstEqualsSign) {
    EXPECT_EQ(text_of({" a = b=c "}), " A = b=c \n");
}

TEST_F(ProcessQrconf, ZeroesEachStructureMemberInAReset) {
    const Texts members = {"TAPEMGR_VERBOSE", "SESSMGR_VERBOSE", "CATMGR_VERBOSE",  "REQD_VERBOSE", "PROXYD_VERBOSE",
                           "OFFSITE_VERBOSE", "SCHEDD_VERBOSE",  "DISKMGR_VERBOSE", "JOBD_VERBOSE"};
    for (std::size_t i = 0; i < members.size(); ++i) {
        recording_platform::reset();
        EXPECT_EQ(text_of({members[i] + "=-1"}), members[i] + "=0\n");
        EXPECT_EQ(messages_under("isqrconfstructmember"),
                  (Lines{{detail, "isqrconfstructmember",
                          "qr.conf structure member: " + std::to_string(i) + " " + members[i]}}));
        EXPECT_EQ(messages_under("isqrconfspecialmember"), Lines{});
    }
}

TEST_F(ProcessQrconf, RecognizesAStructureMemberInAnyCase) {
    EXPECT_EQ(text_of({"Jobd_Verbose=-1"}), "JOBD_VERBOSE=0\n");
    EXPECT_EQ(messages_under("isqrconfstructmember"),
              (Lines{{detail, "isqrconfstructmember", "qr.conf structure member: 8 JOBD_VERBOSE"}}));
}

TEST_F(ProcessQrconf, RemovesAnyOtherVerbosityInAReset) {
    EXPECT_EQ(text_of({"myproc_Verbose=-1"}), "MYPROC_VERBOSE\n");
    EXPECT_EQ(messages_under(tag).at(1), (LogLine{detail, tag, "Removing 'myproc_Verbose' from qr.conf"}));
    EXPECT_EQ(messages_under("isqrconfstructmember"), Lines{});
}

TEST_F(ProcessQrconf, RemovesAKeyThatContainsTheWordAnywhere) {
    EXPECT_EQ(text_of({"A_VERBOSE_B=-1"}), "A_VERBOSE_B\n");
}

TEST_F(ProcessQrconf, ZeroesTheGlobalVerbosityAndOtherKeysInAReset) {
    EXPECT_EQ(text_of({"VERBOSE=-1", "other=-1"}), "VERBOSE=0\nOTHER=0\n");
    EXPECT_EQ(messages_under("isqrconfstructmember"), Lines{});
}

TEST_F(ProcessQrconf, ZeroesTheSpecialMemberWithoutLookingForIt) {
    EXPECT_EQ(text_of({"Debug_Database=-1"}), "DEBUG_DATABASE=0\n");
    EXPECT_EQ(messages_under("isqrconfspecialmember"), Lines{});
}

TEST_F(ProcessQrconf, WritesMinusOneWhileGlobalLoggingIsOn) {
    for (const int verbosity : {3, -1}) {
        script.global_verbosity = verbosity;
        EXPECT_EQ(text_of({"MYPROC_VERBOSE=-1", "jobd_verbose=-1"}), "MYPROC_VERBOSE=-1\nJOBD_VERBOSE=-1\n");
    }
    EXPECT_EQ(messages_under("isqrconfstructmember"), Lines{});
}

TEST_F(ProcessQrconf, FetchesTheGlobalVerbosityForEachEntry) {
    script.next_global_verbosities = {7, 0, 3, 0, 3, 0};
    EXPECT_EQ(text_of({"A_VERBOSE=-1", "B_VERBOSE=-1", "C_VERBOSE=-1", "D_VERBOSE=4", "E_VERBOSE=-1"}),
              "A_VERBOSE\nB_VERBOSE=-1\nC_VERBOSE\nD_VERBOSE=4\nE_VERBOSE\n");
    EXPECT_EQ(messages_under(tag).at(0), (LogLine{detail, tag, "current global VERBOSE=7"}));
}

TEST_F(ProcessQrconf, ResetsForExactlyMinusOne) {
    EXPECT_EQ(text_of({"A_VERBOSE=-10", "B_VERBOSE=0", "C_VERBOSE= -1"}),
              "A_VERBOSE=-10\nB_VERBOSE=0\nC_VERBOSE= -1\n");
}

TEST_F(ProcessQrconf, IgnoresTheAction) {
    for (const char* action : {"enable", "disable", "reset", "other"}) {
        recording_platform::reset();
        EXPECT_EQ(process({"JOBD_VERBOSE=4"}, action), 0);
        EXPECT_EQ(calls().at(0), "ParseConfigExA JOBD_VERBOSE=4\n other record 1");
    }
}

TEST_F(ProcessQrconf, ParsesAndAppliesAnEmptyTextWithoutEntries) {
    EXPECT_EQ(process({}), 0);
    EXPECT_EQ(calls(), (Texts{"ParseConfigExA  other record 1",
                              "UpdateHostConfigExA standard server  other record 0 0 0", "FreeConfig"}));
    EXPECT_EQ(responses_, Responses{});
}

TEST_F(ProcessQrconf, AppliesNothingThatIsRejected) {
    script.settings_refused = 9017;
    EXPECT_EQ(process({"A=1", "b=2"}), 9017);
    EXPECT_EQ(calls(), (Texts{"ParseConfigExA A=1\nB=2\n other record 1", "FreeConfig"}));
    const std::string outcome = " STATUS=1 MSG=invalid qr.conf input (RV=9017 text of 9017)\n";
    EXPECT_EQ(responses_, (Responses{"PROCESS=QRCONF:A" + outcome, "PROCESS=QRCONF:b" + outcome}));
    EXPECT_EQ(messages().at(1), (LogLine{error, tag, responses_.at(0)}));
    EXPECT_EQ(messages().at(2), (LogLine{error, tag, responses_.at(1)}));
}

TEST_F(ProcessQrconf, ReportsTheFailedUpdateForEveryEntry) {
    script.update_refused = -3;
    EXPECT_EQ(process({"A=1", "B=2"}), -3);
    const std::string outcome = " STATUS=1 MSG=qr.conf update failed (RV=-3 text of -3)\n";
    EXPECT_EQ(responses_, (Responses{"PROCESS=QRCONF:A" + outcome, "PROCESS=QRCONF:B" + outcome}));
    EXPECT_EQ(calls().back(), "FreeConfig");
}

TEST_F(ProcessQrconf, CutsTheMessageTo1023Characters) {
    script.settings_refused = 7;
    script.status_texts[7] = std::string(1500, 't');
    process({"A"});
    const std::string message = ("invalid qr.conf input (RV=7 " + script.status_texts[7]).substr(0, 1023);
    EXPECT_EQ(responses_, (Responses{"PROCESS=QRCONF:A STATUS=1 MSG=" + message + "\n"}));
}

TEST_F(ProcessQrconf, CutsTheMessageOfAFailedUpdateTo1023Characters) {
    script.update_refused = 7;
    script.status_texts[7] = std::string(1500, 't');
    process({"A"});
    const std::string message = ("qr.conf update failed (RV=7 " + script.status_texts[7]).substr(0, 1023);
    EXPECT_EQ(responses_, (Responses{"PROCESS=QRCONF:A STATUS=1 MSG=" + message + "\n"}));
}

TEST_F(ProcessQrconf, CutsTheLineTo2047Characters) {
    const std::string name(2040, 'N');
    process({name});
    EXPECT_EQ(responses_, (Responses{("PROCESS=QRCONF:" + name).substr(0, 2047)}));
}

TEST_F(ProcessQrconf, PassesTheCategoryOn) {
    process_qrconf("other", {"A=1"}, responses_, "enable");
    script.settings_refused = 9017;
    process_qrconf("other", {"A=1"}, responses_, "enable");
    EXPECT_EQ(responses_, (Responses{"PROCESS=other:A STATUS=0 MSG=Set up\n",
                                     "PROCESS=other:A STATUS=1 MSG=invalid qr.conf input (RV=9017 text of 9017)\n"}));
}

class ProcessConfigFileEntry : public AgentTest {
  protected:
    int process(const std::string& entry) {
        return process_config_file_entry("CORVID", entry, responses_, path_, "WQF:LOGLEVEL", "=", "5");
    }

    ScratchFolder folder_;
    const std::string path_ = folder_.path("wqf.conf");
    Responses responses_;
};

TEST_F(ProcessConfigFileEntry, SetsTheLevelAndAnswers) {
    write_file(path_, "#WQF:LOGLEVEL=5\n");
    EXPECT_EQ(process("zmwqf=1"), 0);
    EXPECT_EQ(read_file(path_), "WQF:LOGLEVEL=1\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=CORVID:zmwqf STATUS=0 MSG=Set up zmwqf debug logging\n"}));
    EXPECT_EQ(messages(), (Lines{{information, "process_config_file_entry", responses_.at(0)}}));
}

TEST_F(ProcessConfigFileEntry, SetsTheDefaultLevelForANameWithoutALevel) {
    write_file(path_, "");
    EXPECT_EQ(process("zmwqf"), 0);
    EXPECT_EQ(read_file(path_), "WQF:LOGLEVEL=5\n");
}

TEST_F(ProcessConfigFileEntry, UsesTheLevelAfterTheFirstEqualsSignUntrimmed) {
    write_file(path_, "");
    EXPECT_EQ(process(" n = 1=2 "), 0);
    EXPECT_EQ(read_file(path_), "WQF:LOGLEVEL= 1=2 \n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=CORVID: n  STATUS=0 MSG=Set up  n  debug logging\n"}));
}

TEST_F(ProcessConfigFileEntry, LogsAFailureAtTheInformationLevel) {
    EXPECT_EQ(process("zmwqf=1"), 5803);
    EXPECT_EQ(responses_, (Responses{"PROCESS=CORVID:zmwqf STATUS=5803 MSG=Could not open file " + path_ +
                                     " E=2 (No such file or directory)\n"}));
    EXPECT_EQ(messages().back(), (LogLine{information, "process_config_file_entry", responses_.at(0)}));
}

TEST_F(ProcessConfigFileEntry, CutsTheMessageTo1023Characters) {
    const std::string path = "/missing/" + std::string(1500, 'x');
    EXPECT_EQ(process_config_file_entry("CORVID", "n=1", responses_, path, "WQF:LOGLEVEL", "=", "5"), 5803);
    const std::string message = ("Could not open file " + path).substr(0, 1023);
    EXPECT_EQ(responses_, (Responses{"PROCESS=CORVID:n STATUS=5803 MSG=" + message + "\n"}));
}

TEST_F(ProcessConfigFileEntry, CutsTheLineTo2047Characters) {
    write_file(path_, "");
    const std::string name(2040, 'n');
    EXPECT_EQ(process(name + "=1"), 0);
    EXPECT_EQ(responses_, (Responses{("PROCESS=CORVID:" + name).substr(0, 2047)}));
}

}  // namespace
