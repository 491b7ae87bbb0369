// CALCLOGSIZE: runs zmcplogs, reports free space and removes what the tool left.
#include "tests/end_to_end/collection_messages.h"
#include "tests/end_to_end/tool_messages.h"
#include "tests/support/stand_in_tool.h"

namespace {

using log_level::error;
using log_level::information;

class SizeCalculation : public RequestTable {};

TEST_P(SizeCalculation, AnswersLogsAndLeavesFiles) {
    check(GetParam());
}

const std::string space_at_c = "CALCLOGSIZE: TARGET_DIR=/tmp/c FREE_SPACE=<digits> MB TOTAL_SPACE=<digits> MB\n";
const LogLine checking_c = {information, "calc_free_space_send_output", "Checking available space at /tmp/c"};

const std::vector<RequestCase> calculations = {
    {
        .name = "ReportsTheSpaceOfTheCollectionDirectory",
        .request = {"CALCLOGSIZE", "-x", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[-x]\n[" + c_temporary + "]\n\n" + space_at_c,
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("CALCLOGSIZE", zmcplogs_tool) + std::vector{checking_c},
        .after = {empty_folder("/tmp/c")},
    },
    {
        .name = "ReportsTheSpaceOfTheDefaultDirectory",
        .request = {"CALCLOGSIZE"},
        .prepare = with_tool(zmcplogs_tool, {}),
        .answer = "\nCALCLOGSIZE: TARGET_DIR=" + evidence + " FREE_SPACE=<digits> MB TOTAL_SPACE=<digits> MB\n",
        .log = std::vector{chosen(evidence)} + messages_of_run("CALCLOGSIZE", zmcplogs_tool) +
               std::vector<LogLine>{
                   {information, "calc_free_space_send_output", "Checking available space at " + evidence}},
        .after = {empty_folder(evidence)},
    },
    {
        .name = "RemovesWhatTheToolMade",
        .request = {"CALCLOGSIZE", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::fill_last_argument({"deep/log"})}),
        .answer = "\n" + space_at_c,
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("CALCLOGSIZE", zmcplogs_tool) +
               std::vector{checking_c, removing(c_temporary), removing(c_temporary + "/deep")},
        .after = {empty_folder("/tmp/c")},
    },
    {
        .name = "SucceedsWhenTheToolFailed",
        .request = {"CALCLOGSIZE", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::fill_last_argument({"log"}), stand_in::exit_with(3)}),
        .answer = "\n" + space_at_c,
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("CALCLOGSIZE", zmcplogs_tool, {.code = 3}) +
               std::vector{checking_c, removing(c_temporary)},
        .after = {empty_folder("/tmp/c")},
    },
    {
        .name = "SucceedsWithoutTheTool",
        .request = {"CALCLOGSIZE", "--collectdir", "/tmp/c"},
        .answer = "\n" + space_at_c,
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("CALCLOGSIZE", zmcplogs_tool, {.code = 29}) +
               std::vector{checking_c},
    },
    {
        .name = "HasNothingToRemoveWithoutACollectionDirectory",
        .request = {"CALCLOGSIZE", "--collectdir", "/tmp/missing/c"},
        .status = 5811,
        .log = std::vector{not_created("/tmp/missing/c")} + cleanup_required(5811) + std::vector{nothing_to_remove},
    },
    {
        .name = "FailsWhenTheToolRemovedTheCollectionDirectoryAndItsParent",
        .request = {"CALCLOGSIZE", "--collectdir", "/tmp/p/c"},
        .before = {folder("/tmp/p")},
        .prepare = with_tool(zmcplogs_tool, {stand_in::run("rm -rf /tmp/p")}),
        .answer = "\n",
        .status = 5784,
        .log =
            std::vector{chosen("/tmp/p/c")} + messages_of_run("CALCLOGSIZE", zmcplogs_tool) +
            std::vector<LogLine>{{information, "calc_free_space_send_output", "Checking available space at /tmp/p/c"},
                                 {error, "calc_free_space_send_output",
                                  "Specified dir (/tmp/p/c) or parent dir (/tmp/p) does not exist"}} +
            cleanup_required(5784) + std::vector{nothing_to_remove},
    },
};

INSTANTIATE_TEST_SUITE_P(, SizeCalculation, testing::ValuesIn(calculations), name_of_row);

}  // namespace
