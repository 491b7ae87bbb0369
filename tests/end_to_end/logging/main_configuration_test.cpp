// Category QRCONF: the lines of qr.conf that change, and the texts that are rejected.
#include "tests/end_to_end/logging/main_configuration_case.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

using log_level::detail;
using log_level::error;

using main_configuration_case::applied;
using main_configuration_case::rejected;
using main_configuration_case::said;

class MainConfiguration : public RequestTable {};

TEST_P(MainConfiguration, AnswersLogsAndChangesFiles) {
    check_logging(GetParam());
}

RequestCase set(const std::string& name, const std::string& value, const std::string& before,
                const std::string& after) {
    return applied(
        {.name = name, .values = value, .before = before, .after = after, .names = {value.substr(0, value.find('='))}});
}

INSTANTIATE_TEST_SUITE_P(
    Set, MainConfiguration,
    testing::ValuesIn(std::vector<RequestCase>{
        set("AddsAKeyInUpperCase", "tapemgr_verbose=3", "", "TAPEMGR_VERBOSE = 3\n"),
        set("DefaultsToLevelFive", "REQD_VERBOSE", "", "REQD_VERBOSE = 5\n"),
        set("ReplacesAKeyInItsPlace", "Jobd_Verbose=4", "A = 1\nJOBD_VERBOSE = 1\nB = 2\n",
            "A = 1\nJOBD_VERBOSE = 4\nB = 2\n"),
        set("ReplacesTheFirstLineAndDropsTheLaterOnes", "X=4", "x=1\nA\nX = 2\n x\t=3\n", "X = 4\nA\n"),
        set("WritesSpacesAroundTheEqualsSign", "X=4", "X=4\n", "X = 4\n"),
        set("WritesNothingWhenTheLineIsThere", "X=4", "X = 4\nA\n", "X = 4\nA\n"),
        set("WritesNothingAlsoWhenTheLastLineHasNoNewline", "X=4", "X = 4\nA", "X = 4\nA"),
        set("EndsTheLastLine", "X=4", "A = 1", "A = 1\nX = 4\n"),
        set("KeepsEveryOtherByte", "X=4", std::string("# X = 1\r\n\n \t\nno entry\0\xff\n=\nXX = 1\n", 33),
            std::string("# X = 1\r\n\n \t\nno entry\0\xff\n=\nXX = 1\nX = 4\n", 39)),
        set("TreatsCarriageReturnsAsSpaces", "X=4", "\rX\r=\r1\r\n", "X = 4\n"),
        set("WritesALevelUnchanged", "X= a = b ", "", "X =  a = b \n"),
        set("WritesAnEmptyLevel", "X=", "", "X = \n"),
        set("WritesBytesBeyondAscii", "X=\xc3\xa4\xff", "", "X = \xc3\xa4\xff\n"),
        set("AcceptsEveryNumberOf32BitsAsAVerbosity", "X_VERBOSE=-2147483648", "", "X_VERBOSE = -2147483648\n"),
        set("AcceptsAnyTextForAnotherKey", "VERBOSE_X=high", "", "VERBOSE_X = high\n"),
        set("AcceptsDigitsAndUnderscoresInAKey", "x9_=1", "", "X9_ = 1\n"),
        applied({.name = "SetsTheGlobalVerbosity",
                 .values = "VERBOSE",
                 .before = "verbose=1\nA\nVERBOSE = 2\n",
                 .after = "VERBOSE = 5\nA\n",
                 .names = {"VERBOSE"},
                 .global_verbosity = 1}),
        applied({.name = "AddsKeysInTheOrderOfTheirFirstAppearance",
                 .values = "b=1,a=2,B=3,c",
                 .after = "B = 3\nA = 2\nC = 5\n",
                 .names = {"b", "a", "B", "c"}}),
        applied({.name = "TheLastOfSeveralSettingsHolds",
                 .values = "X=1,X=2",
                 .before = "X = 1\n",
                 .after = "X = 2\n",
                 .names = {"X", "X"}}),
    }),
    name_of_row);

// Level "-1" while the global verbosity is 0.
RequestCase reset(const std::string& name, const std::string& key, const std::string& before, const std::string& after,
                  const std::vector<LogLine>& log = {}) {
    return applied({.name = name, .values = key + "=-1", .before = before, .after = after, .names = {key}, .log = log});
}

RequestCase removed(const std::string& name, const std::string& key, const std::string& before,
                    const std::string& after) {
    return reset(name, key, before, after, {said(detail, "Removing '" + key + "' from qr.conf")});
}

INSTANTIATE_TEST_SUITE_P(
    Reset, MainConfiguration,
    testing::ValuesIn(std::vector<RequestCase>{
        reset("ZeroesTheGlobalVerbosity", "VERBOSE", "VERBOSE = 0 \n", "VERBOSE = 0\n"),
        reset("ZeroesAKeyThatIsNotAVerbosity", "Foo", "FOO = 3\n", "FOO = 0\n"),
        reset("ZeroesAKeyWithVerboseAtItsStart", "VERBOSE_X", "", "VERBOSE_X = 0\n"),
        reset("ZeroesDebugDatabaseAsAKeyThatIsNotAVerbosity", "Debug_Database", "", "DEBUG_DATABASE = 0\n"),
        removed("RemovesAVerbosityOfAnyOtherProcess", "MYPROC_VERBOSE", "A = 1\nMYPROC_VERBOSE = 5\nB = 2\n",
                "A = 1\nB = 2\n"),
        removed("ReportsTheNameAsReceived", "MyProc_Verbose", "myproc_verbose = 5\n", ""),
        removed("RemovesEveryLineOfTheKey", "X_VERBOSE", "X_VERBOSE=1\nx_verbose = 2\nA\n X_Verbose =\n", "A\n"),
        removed("RemovesAKeyWithVerboseInItsMiddle", "X_VERBOSE_Y", "X_VERBOSE_Y = high\n", ""),
        removed("RemovesAKeyThatOnlyBeginsLikeAMember", "JOBD_VERBOSE_X", "JOBD_VERBOSE_X = 1\n", ""),
        removed("RemovesAKeyThatOnlyEndsLikeAMember", "XJOBD_VERBOSE", "XJOBD_VERBOSE = 1\n", ""),
        removed("LeavesTheLinesOfOtherKeys", "X_VERBOSE", "# X_VERBOSE = 1\nXX_VERBOSE = 1\nX_VERBOSE\n",
                "# X_VERBOSE = 1\nXX_VERBOSE = 1\nX_VERBOSE\n"),
        set("NeedsExactlyMinusOne", "Foo=-01", "", "FOO = -01\n"),
        set("NeedsMinusOneNotMinusTwo", "X_VERBOSE=-2", "", "X_VERBOSE = -2\n"),
        applied({.name = "AndSettingCanBeInOneRequest",
                 .values = "A_VERBOSE=-1,B_VERBOSE,jobd_verbose=-1",
                 .before = "B_VERBOSE = 1\nA_VERBOSE = 1\n",
                 .after = "B_VERBOSE = 5\nJOBD_VERBOSE = 0\n",
                 .names = {"A_VERBOSE", "B_VERBOSE", "jobd_verbose"},
                 .log = {said(detail, "Removing 'A_VERBOSE' from qr.conf"),
                         {detail, "isqrconfstructmember", "qr.conf structure member: 8 JOBD_VERBOSE"}}}),
        // The last setting of a key counts, even if it is a removal.
        applied({.name = "AfterSettingTheSameKeyRemovesIt",
                 .values = "A_VERBOSE=3,A_VERBOSE=-1",
                 .before = "A_VERBOSE = 1\n",
                 .names = {"A_VERBOSE", "A_VERBOSE"},
                 .log = {said(detail, "Removing 'A_VERBOSE' from qr.conf")}}),
    }),
    name_of_row);

// The keys that are members of the configuration record, by their index, in upper, lower and mixed case.
std::vector<RequestCase> rows_of_structure_members() {
    const std::vector<std::string> members = {"TAPEMGR", "SESSMGR", "CATMGR",  "REQD", "PROXYD",
                                              "OFFSITE", "SCHEDD",  "DISKMGR", "JOBD"};
    std::vector<RequestCase> rows;
    for (std::size_t i = 0; i < members.size(); ++i) {
        const std::string key = members[i] + "_VERBOSE";
        const LogLine found = {detail, "isqrconfstructmember",
                               "qr.conf structure member: " + std::to_string(i) + " " + key};
        rows.push_back(reset("Zeroes" + members[i], key, key + " = 5\n", key + " = 0\n", {found}));
        rows.push_back(reset("Adds" + members[i], members[i] + "_verbose", "", key + " = 0\n", {found}));
    }
    rows.push_back(reset("InAnyCase", "jObD_vErBoSe", "", "JOBD_VERBOSE = 0\n",
                         {{detail, "isqrconfstructmember", "qr.conf structure member: 8 JOBD_VERBOSE"}}));
    return rows;
}

INSTANTIATE_TEST_SUITE_P(StructureMember, MainConfiguration, testing::ValuesIn(rows_of_structure_members()),
                         name_of_row);

// While global debug logging is on, "-1" is a level like any other.
RequestCase verbose(const std::string& name, int global, const std::string& key) {
    const std::string global_line = "VERBOSE = " + std::to_string(global) + "\n";
    return applied({.name = name,
                    .values = key + "=-1",
                    .before = global_line,
                    .after = global_line + key + " = -1\n",
                    .names = {key},
                    .global_verbosity = global});
}

INSTANTIATE_TEST_SUITE_P(
    GlobalVerbosity, MainConfiguration,
    testing::ValuesIn(std::vector<RequestCase>{
        verbose("WritesMinusOneForAnyProcess", 3, "MYPROC_VERBOSE"),
        verbose("WritesMinusOneForAStructureMember", 3, "JOBD_VERBOSE"),
        verbose("WritesMinusOneForAnyKey", 3, "FOO"),
        verbose("IsOnIfItIsNegative", -1, "MYPROC_VERBOSE"),
        applied({.name = "WritesMinusOneForItself",
                 .values = "VERBOSE=-1",
                 .before = "VERBOSE = 3\n",
                 .after = "VERBOSE = -1\n",
                 .names = {"VERBOSE"},
                 .global_verbosity = 3}),
        removed("IsOffIfItIsNotANumber", "X_VERBOSE", "VERBOSE = high\nX_VERBOSE = 1\n", "VERBOSE = high\n"),
        removed("IsOffIfItIsNoNumberOf32Bits", "X_VERBOSE", "VERBOSE = 2147483648\nX_VERBOSE = 1\n",
                "VERBOSE = 2147483648\n"),
        removed("IsReadFromTheFirstLine", "X_VERBOSE", "VERBOSE = 0\nVERBOSE = 3\nX_VERBOSE = 1\n",
                "VERBOSE = 0\nVERBOSE = 3\n"),
        removed("IsNotReadFromAComment", "X_VERBOSE", "#VERBOSE = 3\nX_VERBOSE = 1\n", "#VERBOSE = 3\n"),
        applied({.name = "IsReadAtTheStartOfTheRequest",
                 .values = "VERBOSE=0,X_VERBOSE=-1",
                 .before = "VERBOSE = 3\n",
                 .after = "VERBOSE = 0\nX_VERBOSE = -1\n",
                 .names = {"VERBOSE", "X_VERBOSE"},
                 .global_verbosity = 3}),
    }),
    name_of_row);

RequestCase rejection(const std::string& name, const std::string& value) {
    return rejected({.name = name, .values = value, .before = "X = 1\n", .names = {value.substr(0, value.find('='))}});
}

INSTANTIATE_TEST_SUITE_P(Rejection, MainConfiguration,
                         testing::ValuesIn(std::vector<RequestCase>{
                             rejection("Server", "SERVER=evil.example.test"),
                             rejection("ServerInAnyCase", "sErVeR=evil.example.test"),
                             rejection("ServerToBeZeroed", "SERVER=-1"),
                             rejection("ServerAfterANewlineInALevel", "X=2\nSERVER=evil"),
                             rejection("ServerAfterANewlineInAName", "X\nSERVER=evil"),
                             rejection("KeyThatBeginsWithADigit", "1X=2"),
                             rejection("KeyThatBeginsWithAnUnderscore", "_X=2"),
                             rejection("KeyWithASpace", "X Y=2"),
                             rejection("KeyWithATrailingSpace", "X =2"),
                             rejection("KeyWithALeadingSpace", " X=2"),
                             rejection("KeyWithAHyphen", "X-Y=2"),
                             rejection("KeyBeyondAscii", "\xc3\xa4=2"),
                             rejection("EmptyKey", "=2"),
                             rejection("LevelWithATab", "X=\t2"),
                             rejection("LevelWithACarriageReturn", "X=2\r"),
                             rejection("LevelWithADelete", "X=\x7f"),
                             rejection("LevelWithAByteOne", "X=\x01"),
                             rejection("LevelWithANewlineAtItsEnd", "X=2\n"),
                             rejection("VerbosityThatIsNotANumber", "X_VERBOSE=high"),
                             rejection("VerbosityInLowerCaseThatIsNotANumber", "x_verbose=high"),
                             rejection("EmptyVerbosity", "X_VERBOSE="),
                             rejection("VerbosityWithASpace", "X_VERBOSE= 2"),
                             rejection("VerbosityBeyond32Bits", "X_VERBOSE=2147483648"),
                             rejection("GlobalVerbosityThatIsNotANumber", "VERBOSE=2x"),
                             rejection("EmptyGlobalVerbosity", "VERBOSE="),
                             rejected({.name = "OneOfSeveralRejectsAll",
                                       .values = "X=2,1Y=3,Z=4",
                                       .before = "X = 1\n",
                                       .names = {"X", "1Y", "Z"}}),
                             rejected({.name = "EmptyValues", .values = ",", .before = "X = 1\n", .names = {"", ""}}),
                             rejected({.name = "ServerAfterANewlineInARemoval",
                                       .values = "X_VERBOSE\nSERVER=-1",
                                       .before = "X = 1\n",
                                       .names = {"X_VERBOSE\nSERVER"},
                                       .log = {said(detail, "Removing 'X_VERBOSE\nSERVER' from qr.conf")}}),
                         }),
                         name_of_row);

class MainConfigurationFile : public ProductTest {};

TEST_F(MainConfigurationFile, ChangesInTheSameWayForEveryAction) {
    for (const std::string word : {"ENABLELOGGING", "DISABLELOGGING", "RESETLOGGING"}) {
        write_file(main_configuration, "SERVER = localhost\nA_VERBOSE = 1\n");
        EXPECT_EQ(run_agent({word, "QRCONF:A_VERBOSE=-1,B"}).output(),
                  "PROCESS=QRCONF:A_VERBOSE STATUS=0 MSG=Set up\nPROCESS=QRCONF:B STATUS=0 MSG=Set up\n");
        EXPECT_EQ(read_file(main_configuration), "SERVER = localhost\nB = 5\n");
    }
}

// The agent reads the verbosity when it starts, and not again after an earlier argument has written it.
TEST_F(MainConfigurationFile, IsReadOnceForAllArgumentsOfARequest) {
    write_file(main_configuration, "SERVER = localhost\nVERBOSE = 3\n");
    const AgentRun run = run_agent({"RESETLOGGING", "QRCONF:VERBOSE=0", "QRCONF:X_VERBOSE=-1"});
    EXPECT_EQ(read_file(main_configuration), "SERVER = localhost\nVERBOSE = 0\nX_VERBOSE = -1\n");
    EXPECT_THAT(run.log, testing::Not(LogHas(said(detail, "current global VERBOSE=0"))));
}

TEST_F(MainConfigurationFile, FailsEveryLineAndTheRequestWhenItCannotBeLocked) {
    make_folder(main_configuration + ".lock");
    const AgentRun run = run_agent({"ENABLELOGGING", "QRCONF:A,B=2"});
    // The status line has the same status and text.
    const std::string text = run.status_line().substr(std::string("EXIT STATUS 6021 ").size());
    const std::string outcome =
        " STATUS=1 MSG=qr.conf update failed (RV=6021 " + text.substr(0, text.size() - 1) + ")\n";
    EXPECT_THAT(text, testing::EndsWith("Is a directory\n"));
    EXPECT_EQ(run.output(), "PROCESS=QRCONF:A" + outcome + "PROCESS=QRCONF:B" + outcome);
    EXPECT_EQ(run.status(), 6021);
    EXPECT_THAT(run.log, LogHas(said(error, "PROCESS=QRCONF:B" + outcome)));
    EXPECT_EQ(read_file(main_configuration), "SERVER = localhost\n");
}

TEST_F(MainConfigurationFile, ReportsThatTheNameOfTheNewFileIsTaken) {
    make_folder("/usr/kumel/zembrath/.qr.conf.new");
    const AgentRun run = run_agent({"ENABLELOGGING", "QRCONF:A"});
    EXPECT_EQ(
        run.output(),
        "PROCESS=QRCONF:A STATUS=1 MSG=qr.conf update failed (RV=6017 the main configuration qr.conf could not be "
        "updated (6017): something else has the name of its new file, .qr.conf.new in the same folder; look at it "
        "and move it away)\n");
    EXPECT_EQ(run.status(), 6017);
    expect(folder("/usr/kumel/zembrath/.qr.conf.new"));
    EXPECT_EQ(read_file(main_configuration), "SERVER = localhost\n");
}

TEST_F(MainConfigurationFile, IsReplacedAtTheTargetOfALink) {
    const std::string real = "/usr/kumel/elsewhere/real.conf";
    write_file(real, "SERVER = localhost\n");
    remove_tree(main_configuration);
    make_link("../elsewhere/real.conf", main_configuration);
    EXPECT_EQ(run_agent({"ENABLELOGGING", "QRCONF:A"}).status(), 0);
    expect(soft_link(main_configuration, "../elsewhere/real.conf"));
    expect(file(real, "SERVER = localhost\nA = 5\n"));
}

TEST_F(MainConfigurationFile, KeepsItsModeAndIsLockedByAPrivateFile) {
    set_mode(main_configuration, 0640);
    EXPECT_EQ(run_agent({"ENABLELOGGING", "QRCONF:A"}).status(), 0);
    EXPECT_EQ(mode_of(main_configuration), 0640U);
    EXPECT_EQ(mode_of(main_configuration + ".lock"), 0600U);
}

}  // namespace
