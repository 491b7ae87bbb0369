// Categories ZMKTUL, QPKTUL and SEARCHKTUL: the entries of the store that change.
#include "tests/end_to_end/logging/unified_logging_case.h"

namespace {

using log_level::detail;
using log_level::information;

using unified_logging::current;
using unified_logging::defaults;
using unified_logging::row_of;
using unified_logging::said;
using unified_logging::StoreChange;

const LogLine debug_removed = said(detail, "Removing '111.DebugLevel' line");
const LogLine diagnostic_removed = said(detail, "Removing '111.DiagnosticLevel' line");

class UnifiedLogging : public testing::TestWithParam<StoreChange> {};

TEST_P(UnifiedLogging, AnswersLogsAndChangesFiles) {
    check_logging(row_of(GetParam()));
}

// The product with known defaults.
const std::vector<StoreChange> product_with_defaults = {
    {.name = "TheDefaultLevelIsSix",
     .argument = "ZMKTUL:111",
     .before = "112.DebugLevel=1\n112.DiagnosticLevel=6\n",
     .after = "112.DebugLevel=1\n112.DiagnosticLevel=6\n111.DebugLevel=6\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=6 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 1, 6)}}},
    {.name = "AnEmptyStoreHasTheDefaults",
     .argument = "ZMKTUL:111=3",
     .before = "",
     .after = "111.DebugLevel=3\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=3 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 1, 6)}}},
    {.name = "AnEntryIsReplacedInItsPlace",
     .argument = "ZMKTUL:111=5",
     .before = "# remark\n111.DebugLevel=2\n117.DebugLevel=3\n",
     .after = "# remark\n111.DebugLevel=5\n117.DebugLevel=3\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=2,111=5 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 2, 6)}}},
    {.name = "ADebugEntryIsRemovedForTheDefault",
     .argument = "ZMKTUL:111=1",
     .before = "112.DebugLevel=1\n111.DebugLevel=6\n117.DebugLevel=6\n",
     .after = "112.DebugLevel=1\n117.DebugLevel=6\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=6,111=1 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 6, 6, {debug_removed})}}},
    {.name = "ADebugEntryIsRemovedIfTheStoreHasNoDefault",
     .argument = "ZMKTUL:111=1",
     .before = "111.DebugLevel=6\n",
     .after = "",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=6,111=1 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 6, 6, {debug_removed})}}},
    {.name = "LevelOneIsWrittenIfItIsNotTheDefault",
     .argument = "ZMKTUL:111=1",
     .before = "112.DebugLevel=3\n",
     .after = "112.DebugLevel=3\n111.DebugLevel=1\n",
     .defaults = defaults(3, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=3,111=1 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 3, 6)}}},
    {.name = "ADefaultOtherThanOneIsWritten",
     .argument = "ZMKTUL:111=3",
     .before = "112.DebugLevel=3\n111.DebugLevel=5\n",
     .after = "112.DebugLevel=3\n111.DebugLevel=3\n",
     .defaults = defaults(3, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=5,111=3 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 5, 6)}}},
    {.name = "ADiagnosticEntryIsRemovedIfTheDefaultIsSix",
     .argument = "ZMKTUL:111=3",
     .before = "111.DiagnosticLevel=4\n111.DebugLevel=2\n",
     .after = "111.DebugLevel=3\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=2,111=3 DIAG:111=4,111=6\n",
                   current("P=51216 O=111", 2, 4, {diagnostic_removed})}}},
    {.name = "BothEntriesAreRemoved",
     .argument = "ZMKTUL:111=1",
     .before = "A\n111.DebugLevel=2\n111.DiagnosticLevel=4\nB\n",
     .after = "A\nB\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=2,111=1 DIAG:111=4,111=6\n",
                   current("P=51216 O=111", 2, 4, {debug_removed, diagnostic_removed})}}},
    {.name = "OnlyTheDiagnosticEntryIsRemovedIfTheDebugLevelIsRight",
     .argument = "ZMKTUL:111=2",
     .before = "111.DebugLevel=2\n111.DiagnosticLevel=0\n",
     .after = "111.DebugLevel=2\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=2,111=2 DIAG:111=0,111=6\n",
                   current("P=51216 O=111", 2, 0, {diagnostic_removed})}}},
    {.name = "DiagnosticLevelSixIsWrittenIfItIsNotTheDefault",
     .argument = "ZMKTUL:111=6",
     .before = "112.DiagnosticLevel=4\n",
     .after = "112.DiagnosticLevel=4\n111.DebugLevel=6\n111.DiagnosticLevel=6\n",
     .defaults = defaults(1, 4),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=6 DIAG:111=4,111=6\n",
                   current("P=51216 O=111", 1, 4)}}},
    {.name = "ADiagnosticEntryIsReplacedIfSixIsNotTheDefault",
     .argument = "ZMKTUL:111=1",
     .before = "111.DiagnosticLevel=5\n112.DiagnosticLevel=4\n111.DebugLevel=3\n",
     .after = "111.DiagnosticLevel=6\n112.DiagnosticLevel=4\n",
     .defaults = defaults(1, 4),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=3,111=1 DIAG:111=5,111=6\n",
                   current("P=51216 O=111", 3, 5, {debug_removed})}}},
    {.name = "TheFirstOfSeveralEntriesIsReplacedAndTheOthersAreRemoved",
     .argument = "ZMKTUL:111=5",
     .before = "111.DebugLevel=2\nA\n111.DebugLevel=3\nB\n111.DebugLevel=4\n",
     .after = "111.DebugLevel=5\nA\nB\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=2,111=5 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 2, 6)}}},
    {.name = "TheDefaultOriginatorIsChangedLikeAnyOther",
     .argument = "ZMKTUL:112=5",
     .before = "112.DebugLevel=2\n",
     .after = "112.DebugLevel=5\n",
     .defaults = defaults(2, 6),
     .outcomes = {{"PROCESS=ZMKTUL:112 STATUS=0 MSG=DEBUG:112=2,112=5 DIAG:112=6,112=6\n",
                   current("P=51216 O=112", 2, 6)}}},
    // A change of the defaults by an earlier value of the request does not count: the agent still assumes 1 for 111.
    {.name = "TheDefaultsAreReadOnce",
     .argument = "ZMKTUL:112=5,111=1",
     .before = "111.DebugLevel=4\n112.DebugLevel=1\n",
     .after = "112.DebugLevel=5\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:112 STATUS=0 MSG=DEBUG:112=1,112=5 DIAG:112=6,112=6\n",
                   current("P=51216 O=112", 1, 6)},
                  {"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=4,111=1 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 4, 6, {debug_removed})}}},
    {.name = "TheLineShowsTheLevelsBeforeTheChange",
     .argument = "ZMKTUL:111=2,111=5",
     .before = "",
     .after = "111.DebugLevel=5\n",
     .defaults = defaults(1, 6),
     .outcomes = {{"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=2 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 1, 6)},
                  {"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=2,111=5 DIAG:111=6,111=6\n",
                   current("P=51216 O=111", 2, 6)}}},
};

INSTANTIATE_TEST_SUITE_P(ProductWithDefaults, UnifiedLogging, testing::ValuesIn(product_with_defaults), name_of_row);

// Originator 112 has the default levels here too, but no entry is removed because of them.
std::vector<StoreChange> product_without_defaults(const std::string& category, const std::string& product) {
    const std::string of_product = "P=" + product + " O=111";
    const std::string line = "PROCESS=" + category + ":111 STATUS=0 MSG=DEBUG:111=";
    return {
        {.name = "LevelOneIsWritten",
         .argument = category + ":111=1",
         .before = "112.DebugLevel=1\n111.DebugLevel=6\n",
         .after = "112.DebugLevel=1\n111.DebugLevel=1\n",
         .outcomes = {{line + "6,111=1 DIAG:111=6,111=6\n", current(of_product, 6, 6)}}},
        {.name = "DiagnosticLevelSixIsWritten",
         .argument = category + ":111=1",
         .before = "111.DebugLevel=2\n111.DiagnosticLevel=4\n",
         .after = "111.DebugLevel=1\n111.DiagnosticLevel=6\n",
         .outcomes = {{line + "2,111=1 DIAG:111=4,111=6\n", current(of_product, 2, 4)}}},
        {.name = "NewEntriesHaveTheDebugLevelFirst",
         .argument = category + ":111",
         .before = "112.DebugLevel=2\n112.DiagnosticLevel=5",
         .after = "112.DebugLevel=2\n112.DiagnosticLevel=5\n111.DebugLevel=6\n111.DiagnosticLevel=6\n",
         .outcomes = {{line + "2,111=6 DIAG:111=5,111=6\n", current(of_product, 2, 5)}}},
        {.name = "NothingIsWrittenWhenTheLevelsAreRight",
         .argument = category + ":111=1",
         .before = "",
         .outcomes = {{line + "1,111=1 DIAG:111=6,111=6\n",
                       current(of_product, 1, 6,
                               {said(information, "No change required PID=" + product + " OID=111 [1, 6]")})}}},
        {.name = "AMissingStoreIsNotCreated",
         .argument = category + ":111=1",
         .outcomes = {{"PROCESS=" + category +
                           ":111 STATUS=1 MSG=Failed to load KtUL CFG OID=111 Product ID=" + product + "\n",
                       {},
                       16}},
         .status = 5772},
    };
}

INSTANTIATE_TEST_SUITE_P(Qpktul, UnifiedLogging, testing::ValuesIn(product_without_defaults("QPKTUL", "58330")),
                         name_of_row);
INSTANTIATE_TEST_SUITE_P(Searchktul, UnifiedLogging, testing::ValuesIn(product_without_defaults("SEARCHKTUL", "60385")),
                         name_of_row);

}  // namespace
