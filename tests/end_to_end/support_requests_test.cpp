// RUNZMSU, RUNZMCPLOGS, CALCLOGSIZE and ZMLA: the support tools and where they collect.
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tests/end_to_end/tool_messages.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_tree.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

using Steps = std::vector<std::string>;

std::function<void()> with_tool(const std::string& tool, const Steps& steps) {
    return [tool, steps] { install_tool(tool, steps); };
}

// The message of a chosen temporary directory.
LogLine chosen(const std::string& collection) {
    return {4, "get_zmcplogs_temp_destdir",
            "zmcplogs/zmsu o/p dir: " + collection + "/<temporary>, collect dir:" + collection};
}

// The messages of a collection request's failure, up to the removal of its temporary directory.
std::vector<LogLine> cleanup_required(int status) {
    return {{16, "zmlogadmagent", "Received NSC=" + std::to_string(status) + " (<text>). Cleanup required"}};
}

std::vector<LogLine> cleaning_up(int status, const std::string& temporary) {
    return cleanup_required(status) +
           std::vector<LogLine>{{4, "perform_cleanup_on_failure", "cleaning up: " + temporary}};
}

LogLine removing(const std::string& directory) {
    return {4, "remove_directory", "Removing directory (" + directory + ") Option(1)"};
}

const LogLine nothing_to_remove = {8, "perform_cleanup_on_failure", "Directory string is empty"};

LogLine missing_directory(const char* tag, const std::string& directory) {
    return {16, tag, "Failed to open dir: " + directory + " E=2 (" + strerror(ENOENT) + ")"};
}

class CollectionRequest : public RequestTable {};

TEST_P(CollectionRequest, AnswersLogsAndLeavesFiles) {
    check(GetParam());
}

const std::string evidence = default_collection_folder;
const std::string evidence_temporary = evidence + "/<temporary>";
const std::string c_temporary = "/tmp/c/<temporary>";

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
        .name = "TakesItsCollectionDirectoryOut",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c", "-x"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[-x]\n[" + c_temporary + "]\n\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
        .after = {empty_folder("/tmp/c"), missing(evidence)},
    },
    {
        .name = "TakesItsCollectionDirectoryOutOfTheMiddle",
        .request = {"RUNZMCPLOGS", "-x", "--collectdir", "/tmp/c", "-y"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[-x]\n[-y]\n[" + c_temporary + "]\n\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
    },
    {
        .name = "TakesTheFirstOfTwoCollectionDirectories",
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
        .name = "UsesACollectionDirectoryThatIsThere",
        .request = {"RUNZMCPLOGS", "--collectdir", "/tmp/c"},
        .before = {file("/tmp/c/earlier", "kept")},
        .prepare = with_tool(zmcplogs_tool, {stand_in::fill_last_argument({"log"})}),
        .answer = "\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool),
        .after = {file("/tmp/c/earlier", "kept")},
    },
    {
        .name = "TakesAFileOfTheNameForADirectoryThatIsThere",
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
        .log =
            std::vector<LogLine>{{16, "get_zmcplogs_temp_destdir",
                                  std::string("Failed to create DIR=/tmp/missing/c E=2 (") + strerror(ENOENT) + ")"}} +
            cleanup_required(5811) + std::vector{nothing_to_remove},
        .after = {missing("/tmp/missing")},
    },
    {
        .name = "RefusesAnEmptyCollectionDirectory",
        .request = {"RUNZMCPLOGS", "--collectdir", ""},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print("ran")}),
        .status = 5811,
        .log = std::vector<LogLine>{{16, "get_zmcplogs_temp_destdir",
                                     std::string("Failed to create DIR= E=2 (") + strerror(ENOENT) + ")"}} +
               cleanup_required(5811) + std::vector{nothing_to_remove},
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
        .name = "RemovesFoldersBelowToo",
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
        .name = "TriesToRemoveWhatAMissingToolNeverMade",
        .request = {"RUNZMCPLOGS"},
        .answer = "\n",
        .status = 29,
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMCPLOGS", zmcplogs_tool, {.code = 29}) +
               cleaning_up(29, evidence_temporary) +
               std::vector{missing_directory("remove_directory", evidence_temporary)},
        .after = {empty_folder(evidence)},
    },
};

INSTANTIATE_TEST_SUITE_P(RunZmcplogs, CollectionRequest, testing::ValuesIn(runs_of_zmcplogs), name_of_row);

const std::vector<RequestCase> runs_of_zmsu = {
    {
        .name = "AppendsTheOutputDirectoryAndListsIt",
        .request = {"RUNZMSU", "-x"},
        .prepare = with_tool(zmsu_tool, {stand_in::print_arguments(), stand_in::fill_last_argument({"a.tar"})}),
        .answer = "[" + zmsu_tool + "]\n[-x]\n[-odir]\n[" + evidence_temporary +
                  "]\n\nZMSU PACKAGE=" + evidence_temporary + "/a.tar\n",
        .log = std::vector{chosen(evidence)} + messages_of_run("RUNZMSU", zmsu_tool) +
               std::vector<LogLine>{{4, "list_dir_and_send_output", "Opening dir:" + evidence_temporary}},
    },
    {
        .name = "CollectsWhereItIsTold",
        .request = {"RUNZMSU", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmsu_tool, {stand_in::fill_last_argument({"a.tar"})}),
        .answer = "\nZMSU PACKAGE=" + c_temporary + "/a.tar\n",
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("RUNZMSU", zmsu_tool) +
               std::vector<LogLine>{{4, "list_dir_and_send_output", "Opening dir:" + c_temporary}},
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
               std::vector<LogLine>{{4, "list_dir_and_send_output", "Opening dir:" + evidence_temporary},
                                    missing_directory("list_dir_and_send_output", evidence_temporary)} +
               cleaning_up(5784, evidence_temporary) +
               std::vector{missing_directory("remove_directory", evidence_temporary)},
    },
    {
        .name = "RunsNothingWithoutACollectionDirectory",
        .request = {"RUNZMSU", "--collectdir", "/tmp/missing/c"},
        .prepare = with_tool(zmsu_tool, {stand_in::print("ran")}),
        .status = 5811,
        .log =
            std::vector<LogLine>{{16, "get_zmcplogs_temp_destdir",
                                  std::string("Failed to create DIR=/tmp/missing/c E=2 (") + strerror(ENOENT) + ")"}} +
            cleanup_required(5811) + std::vector{nothing_to_remove},
    },
};

INSTANTIATE_TEST_SUITE_P(RunZmsu, CollectionRequest, testing::ValuesIn(runs_of_zmsu), name_of_row);

const std::string space_at_c = "CALCLOGSIZE: TARGET_DIR=/tmp/c FREE_SPACE=<digits> MB TOTAL_SPACE=<digits> MB\n";
const LogLine checking_c = {4, "calc_free_space_send_output", "Checking available space at /tmp/c"};

const std::vector<RequestCase> calculations = {
    {
        .name = "TellsTheSpaceOfTheCollectionDirectory",
        .request = {"CALCLOGSIZE", "-x", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmcplogs_tool, {stand_in::print_arguments()}),
        .answer = "[" + zmcplogs_tool + "]\n[-x]\n[" + c_temporary + "]\n\n" + space_at_c,
        .log = std::vector{chosen("/tmp/c")} + messages_of_run("CALCLOGSIZE", zmcplogs_tool) + std::vector{checking_c},
        .after = {empty_folder("/tmp/c")},
    },
    {
        .name = "TellsTheSpaceOfTheDefaultDirectory",
        .request = {"CALCLOGSIZE"},
        .prepare = with_tool(zmcplogs_tool, {}),
        .answer = "\nCALCLOGSIZE: TARGET_DIR=" + evidence + " FREE_SPACE=<digits> MB TOTAL_SPACE=<digits> MB\n",
        .log = std::vector{chosen(evidence)} + messages_of_run("CALCLOGSIZE", zmcplogs_tool) +
               std::vector<LogLine>{{4, "calc_free_space_send_output", "Checking available space at " + evidence}},
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
        .log =
            std::vector<LogLine>{{16, "get_zmcplogs_temp_destdir",
                                  std::string("Failed to create DIR=/tmp/missing/c E=2 (") + strerror(ENOENT) + ")"}} +
            cleanup_required(5811) + std::vector{nothing_to_remove},
    },
    {
        .name = "FailsWhenTheToolRemovedTheCollectionDirectoryAndItsParent",
        .request = {"CALCLOGSIZE", "--collectdir", "/tmp/p/c"},
        .before = {folder("/tmp/p")},
        .prepare = with_tool(zmcplogs_tool, {stand_in::run("rm -rf /tmp/p")}),
        .answer = "\n",
        .status = 5784,
        .log = std::vector{chosen("/tmp/p/c")} + messages_of_run("CALCLOGSIZE", zmcplogs_tool) +
               std::vector<LogLine>{{4, "calc_free_space_send_output", "Checking available space at /tmp/p/c"},
                                    {16, "calc_free_space_send_output",
                                     "Specified dir (/tmp/p/c) or parent dir (/tmp/p) does not exist"}} +
               cleanup_required(5784) + std::vector{nothing_to_remove},
    },
};

INSTANTIATE_TEST_SUITE_P(CalcLogSize, CollectionRequest, testing::ValuesIn(calculations), name_of_row);

const std::vector<RequestCase> other_requests = {
    {
        .name = "ZmlaPassesItsArgumentsOn",
        .request = {"ZMLA", "-H", "far host", "--collectdir", "/tmp/c"},
        .prepare = with_tool(zmlogadm_tool, {stand_in::print_arguments(), stand_in::exit_with(4)}),
        .answer = "[" + zmlogadm_tool + "]\n[-H]\n[far host]\n[--collectdir]\n[/tmp/c]\n\n",
        .status = 4,
        .log = messages_of_run("ZMLA", zmlogadm_tool, {.code = 4}),
        .after = {missing("/tmp/c"), missing(evidence)},
    },
    {
        .name = "ZmlaWithoutItsTool",
        .request = {"ZMLA"},
        .answer = "\n",
        .status = 29,
        .log = messages_of_run("ZMLA", zmlogadm_tool, {.code = 29}),
    },
    {
        .name = "FetchfileSucceedsAndDoesNothing",
        .request = {"FETCHFILE", "/etc/hosts"},
        .log = {{16, "perform_request_send_output", "Command FETCHFILE is not supported"}},
    },
};

INSTANTIATE_TEST_SUITE_P(Others, CollectionRequest, testing::ValuesIn(other_requests), name_of_row);

class CollectionDirectory : public testing::Test {
  protected:
    CollectionDirectory() { make_product_tree(); }
};

TEST_F(CollectionDirectory, IsMadeForAllToEnterAndForItsOwnerToWrite) {
    install_tool(zmcplogs_tool, {});
    AgentOptions options;
    options.creation_mask = 0077;
    EXPECT_EQ(run_agent({"RUNZMCPLOGS"}, options).status(), 0);
    EXPECT_EQ(mode_of(default_collection_folder), 0755U);
}

TEST_F(CollectionDirectory, HasATemporaryNameThatIsNotYetMade) {
    install_tool(zmcplogs_tool, {stand_in::run("if [ -e \"$last\" ]; then echo made; else echo free; fi")});
    EXPECT_EQ(run_agent({"RUNZMCPLOGS"}).output(), "free\n\n");
}

TEST_F(CollectionDirectory, HasAnotherTemporaryNameForEachRequest) {
    install_tool(zmcplogs_tool, {stand_in::print_arguments()});
    EXPECT_NE(run_agent({"RUNZMCPLOGS"}).output(), run_agent({"RUNZMCPLOGS"}).output());
}

TEST_F(CollectionDirectory, MayBeCleanedUpLater) {
    install_tool(zmcplogs_tool, {stand_in::fill_last_argument({"log"}), stand_in::run("printf %s \"$last\"")});
    const std::string output = run_agent({"RUNZMCPLOGS"}).output();
    const std::string temporary = output.substr(0, output.size() - 1);
    ASSERT_TRUE(exists(temporary + "/log"));
    const AgentRun run = run_agent({"CLEANUP", temporary});
    EXPECT_EQ(run.output(), "CLEANUP: Successfully cleaned up " + temporary + "\n");
    EXPECT_FALSE(exists(temporary));
}

}  // namespace
