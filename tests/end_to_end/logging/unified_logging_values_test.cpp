// Categories ZMKTUL, QPKTUL and SEARCHKTUL: the forms of a value, and failures.
#include "tests/end_to_end/logging/unified_logging_case.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

using log_level::detail;
using log_level::error;
using log_level::information;

using unified_logging::current;
using unified_logging::defaults;
using unified_logging::row_of;
using unified_logging::said;
using unified_logging::store;
using unified_logging::StoreChange;

class UnifiedLoggingValue : public testing::TestWithParam<StoreChange> {};

TEST_P(UnifiedLoggingValue, AnswersLogsAndChangesFiles) {
    check_logging(row_of(GetParam()));
}

// Outcomes for originators of the product 51216. Neither they nor 112 have entries.
Outcome set(const std::string& originator, const std::string& level) {
    return {"PROCESS=ZMKTUL:" + originator + " STATUS=0 MSG=DEBUG:" + originator + "=1," + originator + "=" + level +
                " DIAG:" + originator + "=6," + originator + "=6\n",
            current("P=51216 O=" + originator, 1, 6)};
}

Outcome left(const std::string& originator) {
    Outcome outcome = set(originator, "1");
    outcome.log.push_back(said(information, "No change required PID=51216 OID=" + originator + " [1, 6]"));
    return outcome;
}

Outcome rejected(const std::string& originator, const std::string& level) {
    return {"PROCESS=ZMKTUL:" + originator + " STATUS=1 MSG=failed to set debug level RV=22 LVL=" + level + "\n",
            current("P=51216 O=" + originator, 1, 6), error};
}

Outcome not_loaded(const std::string& originator) {
    return {"PROCESS=ZMKTUL:" + originator + " STATUS=1 MSG=Failed to load KtUL CFG OID=" + originator +
                " Product ID=51216\n",
            {},
            16};
}

StoreChange values(const std::string& name, const std::string& values, const std::vector<Outcome>& outcomes,
                   const std::optional<std::string>& after) {
    return {.name = name,
            .argument = "ZMKTUL:" + values,
            .before = "",
            .after = after,
            .defaults = defaults(1, 6),
            .outcomes = outcomes};
}

INSTANTIATE_TEST_SUITE_P(
    Values, UnifiedLoggingValue,
    testing::ValuesIn(std::vector<StoreChange>{
        values("TextIsOriginatorZero", "abc", {set("0", "6")}, "0.DebugLevel=6\n"),
        values("TextIsLevelZero", "111=high", {set("111", "0")}, "111.DebugLevel=0\n"),
        values("NothingAfterTheEqualsSignIsLevelZero", "111=", {set("111", "0")}, "111.DebugLevel=0\n"),
        values("NothingBeforeTheEqualsSignIsOriginatorZero", "=5", {set("0", "5")}, "0.DebugLevel=5\n"),
        values("EmptyValuesAreOriginatorZero", ",=1",
               {set("0", "6"),
                {"PROCESS=ZMKTUL:0 STATUS=0 MSG=DEBUG:0=6,0=1 "
                 "DIAG:0=6,0=6\n",
                 current("P=51216 O=0", 6, 6, {said(detail, "Removing '0.DebugLevel' line")})}},
               ""),
        values("TheLeadingDigitsCount", "111x=4y", {set("111", "4")}, "111.DebugLevel=4\n"),
        values("SpacesBeforeANumberAreSkipped", " 111=\t5", {set("111", "5")}, "111.DebugLevel=5\n"),
        values("ANumberMayBeginWithAPlusSign", "+111=+5", {set("111", "5")}, "111.DebugLevel=5\n"),
        values("NumbersAreDecimal", "0111=010", {rejected("111", "10")}, std::nullopt),
        values("HexadecimalDigitsAreText", "0x6F=0x5", {set("0", "0")}, "0.DebugLevel=0\n"),
        values("TheFirstEqualsSignSplits", "111=4=5", {set("111", "4")}, "111.DebugLevel=4\n"),
        values("AnOriginatorIsKeptIn32Bits", "4294967407=3", {set("111", "3")}, "111.DebugLevel=3\n"),
        values("ALevelIsKeptIn32Bits", "111=4294967299", {set("111", "3")}, "111.DebugLevel=3\n"),
        values("ALargeOriginatorIsShownWithASign", "2147483648=3", {set("-2147483648", "3")},
               "2147483648.DebugLevel=3\n"),
        values("ANegativeOriginatorIsTheLargestOne", "-1=3", {set("-1", "3")}, "4294967295.DebugLevel=3\n"),
        values("AnOriginatorBeyond64BitsIsTheLargestOne", "99999999999999999999=3", {set("-1", "3")},
               "4294967295.DebugLevel=3\n"),
        values("ALevelBeyond64BitsIsMinusOne", "111=99999999999999999999", {rejected("111", "-1")}, std::nullopt),
        values("ALevelBelow64BitsIsZero", "111=-99999999999999999999", {set("111", "0")}, "111.DebugLevel=0\n"),
        values("EveryValueIsProcessedInOrder", "117=2,111=3,117=1,113=1",
               {set("117", "2"),
                set("111", "3"),
                {"PROCESS=ZMKTUL:117 STATUS=0 MSG=DEBUG:117=2,117=1 DIAG:117=6,117=6\n",
                 current("P=51216 O=117", 2, 6, {said(detail, "Removing '117.DebugLevel' line")})},
                left("113")},
               "111.DebugLevel=3\n"),
        values(
            "LevelsZeroToSixAreSet", "10=0,12=2,13=3,14=4,15=5,16=6",
            {set("10", "0"), set("12", "2"), set("13", "3"), set("14", "4"), set("15", "5"), set("16", "6")},
            "10.DebugLevel=0\n12.DebugLevel=2\n13.DebugLevel=3\n14.DebugLevel=4\n15.DebugLevel=5\n16.DebugLevel=6\n"),
        values("NothingIsWrittenWhenTheLevelsAreRight", "111=1", {left("111")}, std::nullopt),
    }),
    name_of_row);

StoreChange bad_entry(const std::string& name, const std::string& line) {
    return {.name = name,
            .argument = "ZMKTUL:111",
            .before = line + "\n",
            .defaults = defaults(1, 6),
            .outcomes = {not_loaded("111")},
            .status = 5772};
}

INSTANTIATE_TEST_SUITE_P(BadEntry, UnifiedLoggingValue,
                         testing::ValuesIn(std::vector<StoreChange>{
                             bad_entry("Text", "111.DebugLevel=high"),
                             bad_entry("Empty", "111.DebugLevel="),
                             bad_entry("DiagnosticLevel", "111.DiagnosticLevel=x"),
                             bad_entry("LeadingSpace", "111.DebugLevel= 1"),
                             bad_entry("TrailingSpace", "111.DebugLevel=1 "),
                             bad_entry("CarriageReturn", "111.DebugLevel=1\r"),
                             bad_entry("TooLarge", "111.DebugLevel=2147483648"),
                             bad_entry("TooSmall", "111.DebugLevel=-2147483649"),
                             bad_entry("BesideAGoodOne", "111.DebugLevel=1\n111.DebugLevel=x"),
                         }),
                         name_of_row);

const std::vector<StoreChange> failures = {
    {.name = "AStoreThatIsMissingIsNotCreated",
     .argument = "ZMKTUL:111,117",
     .outcomes = {not_loaded("111"), not_loaded("117")},
     .status = 5772},
    {.name = "ALaterGoodValueIsProcessedButKeepsTheFailedStatus",
     .argument = "ZMKTUL:111,117=3",
     .before = "111.DebugLevel=x\n",
     .after = "111.DebugLevel=x\n117.DebugLevel=3\n",
     .defaults = defaults(1, 6),
     .outcomes = {not_loaded("111"), set("117", "3")},
     .status = 5772},
    {.name = "AnEarlierGoodValueKeepsTheFailedStatus",
     .argument = "ZMKTUL:117=3,111",
     .before = "111.DebugLevel=x\n",
     .after = "111.DebugLevel=x\n117.DebugLevel=3\n",
     .defaults = defaults(1, 6),
     .outcomes = {set("117", "3"), not_loaded("111")},
     .status = 5772},
    {.name = "ARejectedLevelFailsOnlyItsLine",
     .argument = "ZMKTUL:111=7,117=3",
     .before = "111.DiagnosticLevel=4\n",
     .after = "111.DiagnosticLevel=4\n117.DebugLevel=3\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to set debug level RV=22 LVL=7\n",
                   current("P=51216 O=111", 1, 4), error},
                  set("117", "3")}},
    {.name = "ANegativeLevelIsRejected",
     .argument = "ZMKTUL:111=-1",
     .before = "",
     .defaults = defaults(1, 6),
     .outcomes = {rejected("111", "-1")}},
    {.name = "ALevelThatIsNotSetCannotBeRejected",
     .argument = "ZMKTUL:111=7",
     .before = "111.DebugLevel=7\n111.DiagnosticLevel=4\n",
     .after = "111.DebugLevel=7\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=7,111=7 DIAG:111=4,111=6\n",
                   current("P=51216 O=111", 7, 4, {said(detail, "Removing '111.DiagnosticLevel' line")})}}},
    {.name = "AnyNumberInTheStoreIsAccepted",
     .argument = "ZMKTUL:111=2",
     .before = "111.DebugLevel=-2147483648\n112.DebugLevel=2147483647\n",
     .after = "111.DebugLevel=2\n112.DebugLevel=2147483647\n",
     .defaults = defaults(2147483647, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=-2147483648,111=2 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", -2147483648, 6)}}},
    // The agent then assumes 1 and 6, although the product still uses the default that is a number.
    {.name = "DefaultsThatCannotBeReadAreNotLogged",
     .argument = "ZMKTUL:111=1",
     .before = "112.DebugLevel=x\n112.DiagnosticLevel=4\n",
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=1 DIAG:111=4,111=6\n",
                   current("P=51216 O=111", 1, 4, {said(detail, "Removing '111.DiagnosticLevel' line")})}},
     .locked = true},
};

INSTANTIATE_TEST_SUITE_P(Failures, UnifiedLoggingValue, testing::ValuesIn(failures), name_of_row);

// The agent never changes the diagnostic level of originator 156, and still reports level 6 for it.
const std::vector<StoreChange> originator_156 = {
    {.name = "ItsDiagnosticEntryIsNotRemoved",
     .argument = "ZMKTUL:156=0",
     .before = "156.DebugLevel=3\n156.DiagnosticLevel=2\n",
     .after = "156.DebugLevel=0\n156.DiagnosticLevel=2\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:156 STATUS=0 MSG=DEBUG:156=3,156=0 DIAG:156=2,156=6\n",
                   current("P=51216 O=156", 3, 2)}}},
    {.name = "ItsDiagnosticLevelIsNotWritten",
     .argument = "QPKTUL:156=0",
     .before = "156.DebugLevel=3\n112.DiagnosticLevel=2\n",
     .after = "156.DebugLevel=0\n112.DiagnosticLevel=2\n",
     .outcomes = {{"PROCESS=QPKTUL:156 STATUS=0 MSG=DEBUG:156=3,156=0 DIAG:156=2,156=6\n",
                   current("P=58330 O=156", 3, 2)}}},
    {.name = "NothingIsWrittenWhenItsDebugLevelIsRight",
     .argument = "ZMKTUL:156=3",
     .before = "156.DebugLevel=3\n156.DiagnosticLevel=2\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:156 STATUS=0 MSG=DEBUG:156=3,156=3 DIAG:156=2,156=6\n",
                   current("P=51216 O=156", 3, 2)}}},
    {.name = "ItsDebugEntryIsRemovedLikeAnyOther",
     .argument = "ZMKTUL:156=1",
     .before = "156.DebugLevel=3\n",
     .after = "",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:156 STATUS=0 MSG=DEBUG:156=3,156=1 DIAG:156=6,156=6\n",
                   current("P=51216 O=156", 3, 6, {said(detail, "Removing '156.DebugLevel' line")})}}},
};

INSTANTIATE_TEST_SUITE_P(Originator156, UnifiedLoggingValue, testing::ValuesIn(originator_156), name_of_row);

StoreChange other_lines(const std::string& name, const std::string& text, const std::string& kept) {
    return {.name = name,
            .argument = "ZMKTUL:111=3",
            .before = text,
            .after = kept + "111.DebugLevel=3\n",
            .defaults = defaults(1, 6),
            .outcomes = {set("111", "3")}};
}

INSTANTIATE_TEST_SUITE_P(
    OtherLines, UnifiedLoggingValue,
    testing::ValuesIn(std::vector<StoreChange>{
        other_lines("AreKept", "\n# 111.DebugLevel=2\n;\n", "\n# 111.DebugLevel=2\n;\n"),
        other_lines("GainANewlineAtTheEnd", "117.DebugLevel=2", "117.DebugLevel=2\n"),
        other_lines("AreThoseThatOnlyResembleAnEntry",
                    " 111.DebugLevel=2\n0111.DebugLevel=2\n1111.DebugLevel=2\n111.debuglevel=2\n111.DebugLevel =2\n"
                    "111.DebugLevel\n",
                    " 111.DebugLevel=2\n0111.DebugLevel=2\n1111.DebugLevel=2\n111.debuglevel=2\n111.DebugLevel =2\n"
                    "111.DebugLevel\n"),
        other_lines("MayHoldAnyBytes", std::string("a\0b\r\n\xff\x01\n", 8), std::string("a\0b\r\n\xff\x01\n", 8)),
        other_lines("MayBeBadEntriesOfOtherOriginators", "117.DebugLevel=x\n", "117.DebugLevel=x\n"),
    }),
    name_of_row);

class UnifiedLoggingStore : public ProductTest {};

TEST_F(UnifiedLoggingStore, FailsOnlyTheLineWhenItCannotBeLocked) {
    write_file(store, "111.DebugLevel=2\n");
    make_folder(store + ".lock");
    const AgentRun run = run_agent({"ENABLELOGGING", "ZMKTUL:111=3,111"});
    EXPECT_EQ(run.output(),
              "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to write ktul cfg RV=21 LVL=3\n"
              "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to write ktul cfg RV=21 LVL=6\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas(said(error, "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to write ktul cfg RV=21 LVL=3\n")));
    EXPECT_EQ(read_file(store), "111.DebugLevel=2\n");
}

TEST_F(UnifiedLoggingStore, IsReplacedAtTheTargetOfALink) {
    const std::string real = "/usr/kumel/elsewhere/real.conf";
    write_file(real, "111.DebugLevel=2\n");
    make_link(real, store);
    check_logging_in_place(
        {.name = "",
         .request = {"DISABLELOGGING", "ZMKTUL:111=1"},
         .answer = {"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=2,111=1 DIAG:111=6,111=6\n"},
         .log = {defaults(1, 6)[0], current("P=51216 O=111", 2, 6)[0], current("P=51216 O=111", 2, 6)[1],
                 said(detail, "Removing '111.DebugLevel' line"),
                 said(information, "PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=2,111=1 DIAG:111=6,111=6\n")},
         .after = {file(real, ""), lock_of(store), lock_of(real)}});
}

TEST_F(UnifiedLoggingStore, KeepsItsModeAndIsLockedByAPrivateFile) {
    write_file(store, "");
    set_mode(store, 0640);
    EXPECT_EQ(run_agent({"ENABLELOGGING", "ZMKTUL:111"}).status(), 0);
    EXPECT_EQ(read_file(store), "111.DebugLevel=6\n");
    EXPECT_EQ(mode_of(store), 0640U);
    EXPECT_EQ(mode_of(store + ".lock"), 0600U);
}

}  // namespace
