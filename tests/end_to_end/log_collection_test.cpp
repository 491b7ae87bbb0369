// RUNZMCPLOGS: runs zmcplogs with a temporary directory, which the agent removes when the tool fails.
#include <csignal>

#include "tests/end_to_end/collection_messages.h"
#include "tests/end_to_end/tool_messages.h"
#include "tests/support/stand_in_tool.h"

namespace {

class LogCollection : public RequestTable {};

TEST_P(LogCollection, AnswersLogsAndLeavesFiles) {
    check(GetParam());
}

const std::vector<RequestCase> runs_of_zmcplogs = {
    {
        .name = "AppendsTheTemporaryDirectory",
        .request = {"RUNZMCPLOGS", "-x", "a b"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[-x]\n[a b]\n[" + evidence_temporary + "]\n\n",
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
        .after = {empty_folder(evidence)},
    },
    {
        .name = "RemovesCollectdirFromTheArguments",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c", "-x"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[-x]\n[" + c_temporary + "]\n\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
        .after = {empty_folder("/tmp/c"), missing(evidence)},
    },
    {
        .name = "RemovesCollectdirFromTheMiddleOfTheArguments",
        .request = {"RUNZMCPLOGS", "-x", "--collectdir", "/tmp/c", "-y"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[-x]\n[-y]\n[" + c_temporary + "]\n\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
    },
    {
        .name = "UsesTheFirstOfTwoCollectionDirectories",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c", "--collectdir", "/tmp/d"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[--collectdir]\n[/tmp/d]\n[" + c_temporary + "]\n\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
        .after = {missing("/tmp/d")},
    },
    {
        .name = "KeepsALastCollectdirWithoutValue",
        .request = {"RUNZMCPLOGS", "-x", "--collectdir"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[-x]\n[--collectdir]\n[" + evidence_temporary + "]\n\n",
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
    },
    {
        .name = "KeepsAnOptionThatOnlyBeginsWithCollectdir",
        .request = {"RUNZMCPLOGS", "--collectdir=/tmp/c", "-x"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[--collectdir=/tmp/c]\n[-x]\n[" + evidence_temporary + "]\n\n",
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
    },
    {
        .name = "UsesAnExistingCollectionDirectory",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c"},
        .before = {file("/tmp/c/earlier", "kept")},
        .prepare = with_tool(zmcplogs_tool, {stand_in::fill_last_argument({"log"})}),
        .answer = "\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
        .after = {file("/tmp/c/earlier", "kept")},
    },
    {
        .name = "TreatsAFileWithTheNameAsAnExistingDirectory",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c"},
        .before = {file("/tmp/c", "kept")},
        .prepare = with_tool(zmcplogs_tool, {}),
        .answer = "\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
        .after = {file("/tmp/c", "kept")},
    },
    {
        .name = "RunsNothingWithoutACollectionDirectory",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/missing/c"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print("ran")}),
        .status = 5811,
        .log = std::vector{not_created("/tmp/missing/c")} + cleanup_required(5811) + std::vector{nothing_to_remove},
        .after = {missing("/tmp/missing")},
    },
    {
        .name = "RejectsAnEmptyCollectionDirectory",
        .request = {"RUNZMCPLOGS", "--collectdir", ""},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print("ran")}),
        .status = 5811,
        .log = std::vector{not_created("")} + cleanup_required(5811) + std::vector{nothing_to_remove},
    },
    {
        .name = "RemovesAllThatAFailedToolLeft",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c"},
        .before = {file("/tmp/c/earlier", "kept")},
        .prepare = with_tool(zmcplogs_tool, {stand_in::fill_last_argument({"log", "deep"}), stand_in::exit_with(7)}),
        .answer = "\n",
        .status = 7,
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool, {.code = 7}) +
               cleaning_up(7, c_temporary) + std::vector{removing(c_temporary)},
        .after = {file("/tmp/c/earlier", "kept")},
    },
    {
        .name = "RemovesFoldersOfAFailedTool",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c"},
        .prepare =
            with_tool(zmcplogs_tool, {stand_in::fill_last_argument({"deep/deeper/log"}), stand_in::exit_with(7)}),
        .answer = "\n",
        .status = 7,
        .log =
            std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool, {.code = 7}) +
            cleaning_up(7, c_temporary) +
            std::vector{removing(c_temporary), removing(c_temporary + "/deep"), removing(c_temporary + "/deep/deeper")},
        .after = {empty_folder("/tmp/c")},
    },
    {
        .name = "RemovesWhatAKilledToolLeft",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::fill_last_argument({"log"}), stand_in::die_of("TERM")}),
        .answer = "\n",
        .status = 27,
        .log = std::vector{chosen("/tmp/c")} +
               messages_of_run("RUNZMCPLOGS", zmcplogs_tool, {.code = 27, .signal = SIGTERM}) +
               cleaning_up(27, c_temporary) + std::vector{removing(c_temporary)},
        .after = {empty_folder("/tmp/c")},
    },
    {
        .name = "TriesToRemoveTheDirectoryOfAMissingTool",
        .request = {"RUNZMCPLOGS"},
        .answer = "\n",
        .status = 29,
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool, {.code = 29}) +
               cleaning_up(29, evidence_temporary) +
               std::vector{missing_directory("remove_directory", evidence_temporary)},
        .after = {empty_folder(evidence)},
    },
};

INSTANTIATE_TEST_SUITE_P(, LogCollection, testing::ValuesIn(runs_of_zmcplogs), name_of_row);

}  // namespace
