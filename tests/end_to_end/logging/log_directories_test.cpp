// Categories ZMLOGDIR and MMLOGDIR: directories below the two log roots.
#include "tests/end_to_end/logging/logging_case.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

const std::string root = logs_folder + "/";
const std::string manager_root = "/usr/kumel/volmgr/debug";

class LogDirectories : public RequestTable {};

TEST_P(LogDirectories, AnswersLogsAndChangesFiles) {
    check_logging(GetParam());
}

LogLine said_of_product(int level, const std::string& text) {
    return logged(level, "process_zmulogdir", text);
}

Outcome set_up(const std::string& name) {
    return {"PROCESS=ZMLOGDIR:" + name + " STATUS=0 MSG=Set up log directory DIR=" + root + name + " Perm=755\n"};
}

Outcome exists_already(const std::string& name) {
    return {"PROCESS=ZMLOGDIR:" + name + " STATUS=0 MSG=Log directory exists DIR=" + root + name + " Perm=755\n"};
}

Outcome not_done(const std::string& name, const std::string& action) {
    return {"PROCESS=ZMLOGDIR:" + name + " STATUS=0 MSG=Set up log directory DIR=" + root + name + " Perm=0\n",
            {said_of_product(error, "Invalid action=" + action)}};
}

Outcome failed(const std::string& name, const std::string& number, const std::string& text) {
    return {"PROCESS=ZMLOGDIR:" + name + " STATUS=1 MSG=Failed to create log directory DIR=" + root + name +
                " E=" + number + " (" + text + ")\n",
            {said_of_product(error, "Error received while creating log directory " + name + " : " + number)},
            16};
}

RequestCase product(const std::string& name, const Request& request, const std::vector<Outcome>& outcomes,
                    const std::vector<FileState>& before, const std::vector<FileState>& after) {
    RequestCase row = {.name = name, .request = request, .before = before, .after = after};
    add(row, "process_zmulogdir", outcomes);
    return row;
}

RequestCase enable(const std::string& name, const std::string& values, const std::vector<Outcome>& outcomes,
                   const std::vector<FileState>& before, const std::vector<FileState>& after) {
    return product(name, {"ENABLELOGGING", "ZMLOGDIR:" + values}, outcomes, before, after);
}

const std::string long_name(256, 'x');

INSTANTIATE_TEST_SUITE_P(
    Zmlogdir, LogDirectories,
    testing::ValuesIn(std::vector<RequestCase>{
        enable("CreatesTheDirectory", "abc", {set_up("abc")}, {}, {empty_folder(root + "abc")}),
        enable("IgnoresAPermission", "abc=700", {set_up("abc")}, {}, {empty_folder(root + "abc")}),
        enable("SplitsAtTheFirstEqualsSign", "a=b=c", {set_up("a")}, {}, {empty_folder(root + "a")}),
        enable("FindsTheDirectory", "abc", {exists_already("abc")}, {folder(root + "abc")}, {}),
        enable("FindsADirectoryThroughALink", "abc", {exists_already("abc")}, {soft_link(root + "abc", "/usr/kumel")},
               {}),
        enable("CreatesEachOfSeveral", "b,a,b", {set_up("b"), set_up("a"), exists_already("b")}, {},
               {empty_folder(root + "a"), empty_folder(root + "b")}),
        enable("ReportsEachValueOnItsOwn", "a,b", {exists_already("a"), set_up("b")}, {folder(root + "a")},
               {empty_folder(root + "b")}),
        enable("CreatesMissingParents", "a/b/c", {set_up("a/b/c")}, {},
               {folder(root + "a"), folder(root + "a/b"), empty_folder(root + "a/b/c")}),
        enable("UsesTheNameUnchanged", "../a b", {set_up("../a b")}, {}, {empty_folder("/usr/kumel/zembrath/a b")}),
        enable("UsesPercentSignsUnchanged", "%s%n", {set_up("%s%n")}, {}, {empty_folder(root + "%s%n")}),
        enable("TreatsAnEmptyNameAsTheRoot", ",=700", {exists_already(""), exists_already("")}, {}, {}),
        enable("FailsOnAFile", "abc", {failed("abc", "20", "Not a directory")}, {file(root + "abc")}, {}),
        enable("FailsOnALinkThatLeadsNowhere", "abc", {failed("abc", "20", "Not a directory")},
               {soft_link(root + "abc", "nowhere")}, {}),
        enable("FailsBelowAFile", "abc/d", {failed("abc/d", "20", "Not a directory")}, {file(root + "abc")}, {}),
        enable("FailsOnANameThatIsTooLong", long_name, {failed(long_name, "36", "File name too long")}, {}, {}),
        enable("ContinuesAfterAFailure", "abc,d", {failed("abc", "20", "Not a directory"), set_up("d")},
               {file(root + "abc")}, {empty_folder(root + "d")}),
        product("DisableCreatesNothing", {"DISABLELOGGING", "ZMLOGDIR:x"}, {not_done("x", "disable")}, {}, {}),
        product("ResetCreatesNothing", {"RESETLOGGING", "ZMLOGDIR:x"}, {not_done("x", "reset")}, {}, {}),
        product("DisableRemovesNothing", {"DISABLELOGGING", "ZMLOGDIR:x=755,y"},
                {not_done("x", "disable"), not_done("y", "disable")}, {folder(root + "x"), file(root + "y")}, {}),
    }),
    name_of_row);

LogLine said_of_manager(int level, const std::string& text) {
    return logged(level, "process_mmlogdir", text);
}

Outcome manager_line(const std::string& action, const std::string& name, const std::string& rest,
                     int level = information) {
    return {"PROCESS=MMLOGDIR:" + name + rest,
            {said_of_manager(information, "Action=" + action + ", DIR=" + manager_root + "/" + name)},
            level};
}

Outcome manager_set_up(const std::string& name) {
    return manager_line("enable", name,
                        " STATUS=0 MSG=Set up log directory DIR=/usr/kumel/volmgr/debug/" + name + "\n");
}

Outcome manager_exists(const std::string& name) {
    return manager_line("enable", name,
                        " STATUS=0 MSG=Log directory exists DIR=/usr/kumel/volmgr/debug/" + name + "\n");
}

Outcome manager_failed(const std::string& name, const std::string& reason) {
    return manager_line(
        "enable", name,
        " STATUS=1 MSG=Failed to create log directory DIR=/usr/kumel/volmgr/debug/" + name + " E=" + reason + "\n",
        error);
}

// The message is empty, so a space and the directory follow directly.
Outcome manager_not_done(const std::string& name, const std::string& action) {
    Outcome outcome = manager_line(action, name, " STATUS=0 MSG= DIR=/usr/kumel/volmgr/debug/" + name + "\n");
    outcome.log.push_back(said_of_manager(error, "Invalid action=" + action));
    return outcome;
}

RequestCase manager(const std::string& name, const Request& request, const std::vector<Outcome>& outcomes,
                    const std::vector<FileState>& before, const std::vector<FileState>& after) {
    RequestCase row = {.name = name, .request = request, .before = before, .after = after};
    add(row, "process_mmlogdir", outcomes);
    return row;
}

RequestCase manager_enable(const std::string& name, const std::string& values, const std::vector<Outcome>& outcomes,
                           const std::vector<FileState>& before, const std::vector<FileState>& after) {
    return manager(name, {"ENABLELOGGING", "MMLOGDIR:" + values}, outcomes, before, after);
}

// The root cannot be created. There is one line for all values, and the request fails.
RequestCase without_root(const std::string& name, const std::string& word, const FileState& before,
                         const std::string& reason) {
    RequestCase row =
        manager(name, {word, "MMLOGDIR:a,b"},
                {{"PROCESS=MMLOGDIR:ALL STATUS=1 MSG=Failed to create DIR=/usr/kumel/volmgr/debug E=" + reason + "\n",
                  {},
                  error}},
                {missing("/usr/kumel/volmgr"), before}, {});
    row.status = 1;
    return row;
}

INSTANTIATE_TEST_SUITE_P(
    Mmlogdir, LogDirectories,
    testing::ValuesIn(std::vector<RequestCase>{
        manager_enable("CreatesRootAndDirectory", "abc", {manager_set_up("abc")}, {},
                       {folder(manager_root), empty_folder(manager_root + "/abc")}),
        manager_enable("FindsTheRoot", "abc", {manager_set_up("abc")}, {folder(manager_root)},
                       {empty_folder(manager_root + "/abc")}),
        manager_enable("FindsTheDirectory", "abc", {manager_exists("abc")}, {folder(manager_root + "/abc")}, {}),
        manager_enable("AcceptsAFileAsTheDirectory", "abc", {manager_exists("abc")}, {file(manager_root + "/abc")}, {}),
        manager_enable("DoesNotSplitAName", "abc=700", {manager_set_up("abc=700")}, {folder(manager_root)},
                       {empty_folder(manager_root + "/abc=700")}),
        manager_enable("CreatesOneLevelOnly", "a/b", {manager_failed("a/b", "2 (No such file or directory)")},
                       {folder(manager_root)}, {}),
        manager_enable("CreatesBelowADirectoryThatIsThere", "a,a/b", {manager_set_up("a"), manager_set_up("a/b")},
                       {folder(manager_root)}, {folder(manager_root + "/a"), empty_folder(manager_root + "/a/b")}),
        manager_enable("ContinuesAfterAFailure", "a/b,c",
                       {manager_failed("a/b", "2 (No such file or directory)"), manager_set_up("c")},
                       {folder(manager_root)}, {empty_folder(manager_root + "/c")}),
        manager_enable("TreatsAnEmptyNameAsTheRoot", ",", {manager_exists(""), manager_exists("")},
                       {folder(manager_root)}, {}),
        manager_enable("UsesTheNameUnchanged", "../%s", {manager_set_up("../%s")}, {folder(manager_root)},
                       {empty_folder("/usr/kumel/volmgr/%s")}),
        manager_enable("FailsBelowARootThatIsAFile", "abc", {manager_failed("abc", "20 (Not a directory)")},
                       {file(manager_root)}, {}),
        manager_enable("FailsOnANameThatIsTooLong", long_name, {manager_failed(long_name, "36 (File name too long)")},
                       {folder(manager_root)}, {}),
        manager("DisableCreatesOnlyTheRoot", {"DISABLELOGGING", "MMLOGDIR:abc"}, {manager_not_done("abc", "disable")},
                {}, {empty_folder(manager_root)}),
        manager("ResetCreatesOnlyTheRoot", {"RESETLOGGING", "MMLOGDIR:abc,d"},
                {manager_not_done("abc", "reset"), manager_not_done("d", "reset")}, {}, {empty_folder(manager_root)}),
        manager("DisableRemovesNothing", {"DISABLELOGGING", "MMLOGDIR:abc"}, {manager_not_done("abc", "disable")},
                {folder(manager_root + "/abc")}, {}),
        without_root("EnableNeedsTheFolderAboveTheRoot", "ENABLELOGGING", missing("/usr/kumel/volmgr"),
                     "2 (No such file or directory)"),
        without_root("DisableNeedsTheFolderAboveTheRoot", "DISABLELOGGING", missing("/usr/kumel/volmgr"),
                     "2 (No such file or directory)"),
        without_root("TheFolderAboveTheRootIsAFile", "RESETLOGGING", file("/usr/kumel/volmgr"), "20 (Not a directory)"),
    }),
    name_of_row);

class LogDirectory : public ProductTest {};

TEST_F(LogDirectory, HasTheModeOfTheLibraryAndOfTheVolumeManager) {
    AgentOptions options;
    options.creation_mask = 0077;
    EXPECT_EQ(run_agent({"ENABLELOGGING", "ZMLOGDIR:a/b=700", "MMLOGDIR:c"}, options).status(), 0);
    EXPECT_EQ(mode_of(root + "a"), 0755U);
    EXPECT_EQ(mode_of(root + "a/b"), 0755U);
    EXPECT_EQ(mode_of(manager_root), 0755U);
    EXPECT_EQ(mode_of(manager_root + "/c"), 0755U);
}

TEST_F(LogDirectory, IsCreatedWithTheRootAboveItWhenThatIsMissing) {
    remove_tree(logs_folder);
    const AgentRun run = run_agent({"ENABLELOGGING", "ZMLOGDIR:a"});
    EXPECT_EQ(run.output(), set_up("a").line);
    expect(empty_folder(root + "a"));
    EXPECT_THAT(run.log, LogIs({}));
}

}  // namespace
