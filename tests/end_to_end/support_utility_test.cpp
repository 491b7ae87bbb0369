// RUNZMSU: runs zmsu with a temporary directory and lists the packages in it.
#include "tests/end_to_end/collection_messages.h"
#include "tests/end_to_end/tool_messages.h"
#include "tests/support/stand_in_tool.h"

namespace {

using log_level::information;

class SupportUtility : public RequestTable {};

TEST_P(SupportUtility, AnswersLogsAndLeavesFiles) {
    check(GetParam());
}

const std::vector<RequestCase> runs_of_zmsu = {
    {
        .name = "AppendsTheOutputDirectoryAndListsIt",
        .request = {"RUNZMSU", "-x"},
        .prepare = with_tool(zmsu_tool, {stand_in::print_arguments(), stand_in::fill_last_argument({"a.tar"})}),
        .answer = "[" + zmsu_tool + "]\n[-x]\n[-odir]\n[" + evidence_temporary +
                  "]\n\nZMSU PACKAGE=" + evidence_temporary + "/a.tar\n",
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMSU", zmsu_tool) +
               std::vector<LogLine>{{information, "list_dir_and_send_output", "Opening dir:" + evidence_temporary}},
    },
    {
        .name = "UsesTheGivenCollectionDirectory",
        .request = {"RUNZMSU", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmsu_tool, {stand_in::fill_last_argument({"a.tar"})}),
        .answer = "\nZMSU PACKAGE=" + c_temporary + "/a.tar\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMSU", zmsu_tool) +
               std::vector<LogLine>{{information, "list_dir_and_send_output", "Opening dir:" + c_temporary}},
        .after = {missing(evidence)},
    },
    {
        .name = "ListsNothingWhenTheToolFailed",
        .request = {"RUNZMSU"},
        .prepare = with_tool(zmsu_tool, {stand_in::fill_last_argument({"a.tar"}), stand_in::exit_with(3)}),
        .answer = "\n",
        .status = 3,
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMSU", zmsu_tool, {.code = 3}) +
               cleaning_up(3, evidence_temporary) + std::vector{removing(evidence_temporary)},
        .after = {empty_folder(evidence)},
    },
    {
        .name = "FailsWhenTheToolMadeNoDirectory",
        .request = {"RUNZMSU"},
        .prepare = with_tool(zmsu_tool, {}),
        .answer = "\n",
        .status = 5784,
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMSU", zmsu_tool) +
               std::vector<LogLine>{{information, "list_dir_and_send_output", "Opening dir:" + evidence_temporary},
                                    missing_directory("list_dir_and_send_output", evidence_temporary)} +
               cleaning_up(5784, evidence_temporary) +
               std::vector{missing_directory("remove_directory", evidence_temporary)},
    },
    {
        .name = "RunsNothingWithoutACollectionDirectory",
        .request = {"RUNZMSU", "--collectdir", "/tmp/missing/c"},
        .prepare = with_tool(zmsu_tool, {stand_in::print("ran")}),
        .status = 5811,
        .log = std::vector{not_created("/tmp/missing/c")} + cleanup_required(5811) + std::vector{nothing_to_remove},
    },
};

INSTANTIATE_TEST_SUITE_P(, SupportUtility, testing::ValuesIn(runs_of_zmsu), name_of_row);

}  // namespace
