#include "logging_config/log_directories.h"

#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls;
using recording_platform::calls_of;
using recording_platform::messages;

using log_level::error;
using log_level::information;
const std::string logs = "/usr/kumel/zembrath/logs";
const std::string debug = "/usr/kumel/volmgr/debug";

const std::string too_long_name(600, 'n');

std::string line_for_long_name(const std::string& category, const std::string& name, const std::string& root) {
    return "PROCESS=" + category + ":" + name + " STATUS=1 MSG=Failed to create log directory DIR=" + root + "/" +
           name + " E=36 (File name too long)\n";
}

// A name that is too long for system calls, but whose line of 1022 or 1023 characters is not cut.
std::string fitting_name(const std::string& category, const std::string& root) {
    return too_long_name.substr(0, (1023 - line_for_long_name(category, "", root).size()) / 2);
}

class ProcessZmulogdir : public AgentTest {
  protected:
    int process(const Values& values, const char* action = "enable") {
        return process_zmulogdir("ZMLOGDIR", values, responses_, action);
    }

    static constexpr const char* tag = "process_zmulogdir";
    Responses responses_;
};

TEST_F(ProcessZmulogdir, CreatesTheDirectoryWithTheModeOfTheLibrary) {
    script.directory_creation_mode = 01770;
    EXPECT_EQ(process({"abc"}), 0);
    EXPECT_EQ(calls(), (Texts{"getDirCreationMode abc", "mklogdirpath " + logs + "/abc 1016 0"}));
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=ZMLOGDIR:abc STATUS=0 MSG=Set up log directory DIR=" + logs + "/abc Perm=1770\n"}));
    EXPECT_EQ(messages(), (Lines{{information, tag, responses_.at(0)}}));
}

TEST_F(ProcessZmulogdir, SignExtendsTheMode) {
    script.directory_creation_mode = -1;
    process({"abc"});
    EXPECT_EQ(calls().at(1), "mklogdirpath " + logs + "/abc -1 0");
    EXPECT_TRUE(responses_.at(0).ends_with(" Perm=37777777777\n"));
}

TEST_F(ProcessZmulogdir, IgnoresAPermissionThatThePeerSent) {
    EXPECT_EQ(process({"abc=700"}), 0);
    EXPECT_EQ(calls(), (Texts{"getDirCreationMode abc", "mklogdirpath " + logs + "/abc 493 0"}));
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=ZMLOGDIR:abc STATUS=0 MSG=Set up log directory DIR=" + logs + "/abc Perm=755\n"}));
}

TEST_F(ProcessZmulogdir, UsesTheNameUnchanged) {
    process({"../a/b", ""});
    EXPECT_EQ(calls_of("mklogdirpath"),
              (Texts{"mklogdirpath " + logs + "/../a/b 493 0", "mklogdirpath " + logs + "/ 493 0"}));
}

TEST_F(ProcessZmulogdir, ReportsThatTheDirectoryExists) {
    script.log_directory_error = EEXIST;
    EXPECT_EQ(process({"abc"}), 0);
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=ZMLOGDIR:abc STATUS=0 MSG=Log directory exists DIR=" + logs + "/abc Perm=755\n"}));
    EXPECT_EQ(messages(), (Lines{{information, tag, responses_.at(0)}}));
}

// The outcome of one value does not affect the next.
TEST_F(ProcessZmulogdir, CreatesEachDirectoryWithTheErrorCodeCleared) {
    script.log_directory_error = ENOSPC;
    process({"a", "b"});
    EXPECT_EQ(calls_of("mklogdirpath"),
              (Texts{"mklogdirpath " + logs + "/a 493 0", "mklogdirpath " + logs + "/b 493 0"}));
}

TEST_F(ProcessZmulogdir, PassesTheCategoryOn) {
    process_zmulogdir("other", {"a"}, responses_, "enable");
    script.log_directory_error = EIO;
    script.log_directory_error_number = EIO;
    process_zmulogdir("other", {"a"}, responses_, "enable");
    EXPECT_TRUE(responses_.at(0).starts_with("PROCESS=other:a STATUS=0 "));
    EXPECT_TRUE(responses_.at(1).starts_with("PROCESS=other:a STATUS=1 "));
}

TEST_F(ProcessZmulogdir, ReportsErrnoInsteadOfTheCodeOfTheLibrary) {
    script.log_directory_result = -1;
    script.log_directory_error = ENOSPC;
    script.log_directory_error_number = EIO;
    EXPECT_EQ(process({"abc"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=ZMLOGDIR:abc STATUS=1 MSG=Failed to create log directory DIR=" + logs +
                                     "/abc E=5 (Input/output error)\n"}));
    EXPECT_EQ(messages(), (Lines{{error, tag, "Error received while creating log directory abc : 28"},
                                 {error, tag, responses_.at(0)}}));
}

TEST_F(ProcessZmulogdir, ReportsAFailureWithoutACodeAsSuccess) {
    script.log_directory_result = -1;
    EXPECT_EQ(process({"abc"}), 0);
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=ZMLOGDIR:abc STATUS=0 MSG=Set up log directory DIR=" + logs + "/abc Perm=755\n"}));
    EXPECT_EQ(messages(), (Lines{{error, tag, "Error received while creating log directory abc : 0"},
                                 {information, tag, responses_.at(0)}}));
}

TEST_F(ProcessZmulogdir, ReportsASuccessWithACodeAsFailure) {
    script.log_directory_error = EACCES;
    script.log_directory_error_number = EACCES;
    EXPECT_EQ(process({"abc"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=ZMLOGDIR:abc STATUS=1 MSG=Failed to create log directory DIR=" + logs +
                                     "/abc E=13 (Permission denied)\n"}));
    EXPECT_EQ(messages(), (Lines{{error, tag, responses_.at(0)}}));
}

TEST_F(ProcessZmulogdir, ReportsAFailureWithTheCodeOfAnExistingDirectoryAsFailure) {
    script.log_directory_result = -1;
    script.log_directory_error = EEXIST;
    script.log_directory_error_number = ENOTDIR;
    EXPECT_EQ(process({"abc"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=ZMLOGDIR:abc STATUS=1 MSG=Failed to create log directory DIR=" + logs +
                                     "/abc E=20 (Not a directory)\n"}));
}

TEST_F(ProcessZmulogdir, CreatesNothingForAnotherActionAndReportsSuccess) {
    for (const std::string action : {"disable", "reset", "Enable", ""}) {
        recording_platform::reset();
        responses_.clear();
        EXPECT_EQ(process({"x"}, action.c_str()), 0);
        EXPECT_EQ(calls(), Texts{});
        EXPECT_EQ(responses_,
                  (Responses{"PROCESS=ZMLOGDIR:x STATUS=0 MSG=Set up log directory DIR=" + logs + "/x Perm=0\n"}));
        EXPECT_EQ(messages(), (Lines{{error, tag, "Invalid action=" + action}, {information, tag, responses_.at(0)}}));
    }
}

TEST_F(ProcessZmulogdir, AnswersEachValue) {
    EXPECT_EQ(process({"a", "b", "c"}), 0);
    EXPECT_EQ(responses_.size(), 3U);
    EXPECT_EQ(calls_of("mklogdirpath").size(), 3U);
}

TEST_F(ProcessZmulogdir, DoesNothingWithoutAValue) {
    EXPECT_EQ(process({}), 0);
    EXPECT_EQ(responses_, Responses{});
    EXPECT_EQ(calls(), Texts{});
    EXPECT_EQ(messages(), Lines{});
}

TEST_F(ProcessZmulogdir, CutsTheLineTo1023Characters) {
    const std::string name(1000, 'n');
    process({name});
    EXPECT_EQ(responses_,
              (Responses{("PROCESS=ZMLOGDIR:" + name + " STATUS=0 MSG=Set up log directory").substr(0, 1023)}));
}

TEST_F(ProcessZmulogdir, CutsTheLineOfAFailureTo1023Characters) {
    script.log_directory_result = -1;
    script.log_directory_error = ENAMETOOLONG;
    script.log_directory_error_number = ENAMETOOLONG;
    for (const std::string& name : {too_long_name, fitting_name("ZMLOGDIR", logs)}) {
        responses_.clear();
        process({name});
        EXPECT_EQ(responses_, (Responses{line_for_long_name("ZMLOGDIR", name, logs).substr(0, 1023)}));
    }
}

class ProcessMmlogdir : public ProductPathTest {
  protected:
    ProcessMmlogdir() { make_folder("/usr/kumel/volmgr"); }

    int process(const Values& values, const char* action = "enable") {
        return process_mmlogdir("MMLOGDIR", values, responses_, action);
    }

    static constexpr const char* tag = "process_mmlogdir";
    Responses responses_;
};

TEST_F(ProcessMmlogdir, CreatesTheRootAndTheDirectory) {
    EXPECT_EQ(process({"abc"}), 0);
    EXPECT_EQ(calls(), (Texts{"mkdir " + debug + " 493", "mkdir " + debug + "/abc 493"}));
    EXPECT_EQ(mode_of(debug + "/abc"), 0755U);
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=MMLOGDIR:abc STATUS=0 MSG=Set up log directory DIR=" + debug + "/abc\n"}));
    EXPECT_EQ(messages(), (Lines{{information, tag, "Action=enable, DIR=" + debug + "/abc"},
                                 {information, tag, responses_.at(0)}}));
}

TEST_F(ProcessMmlogdir, ReportsThatTheDirectoryExists) {
    make_folder(debug + "/abc");
    EXPECT_EQ(process({"abc"}), 0);
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=MMLOGDIR:abc STATUS=0 MSG=Log directory exists DIR=" + debug + "/abc\n"}));
    EXPECT_EQ(messages().back(), (LogLine{information, tag, responses_.at(0)}));
}

TEST_F(ProcessMmlogdir, KeepsNothingOfOneValueForTheNext) {
    make_folder(debug + "/old");
    EXPECT_EQ(process({"old", "new"}), 0);
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=MMLOGDIR:old STATUS=0 MSG=Log directory exists DIR=" + debug + "/old\n",
                         "PROCESS=MMLOGDIR:new STATUS=0 MSG=Set up log directory DIR=" + debug + "/new\n"}));
}

TEST_F(ProcessMmlogdir, PassesTheCategoryOn) {
    process_mmlogdir("other", {"a", "b/c"}, responses_, "enable");
    remove_tree("/usr/kumel/volmgr");
    process_mmlogdir("other", {"a"}, responses_, "enable");
    EXPECT_TRUE(responses_.at(0).starts_with("PROCESS=other:a STATUS=0 "));
    EXPECT_TRUE(responses_.at(1).starts_with("PROCESS=other:b/c STATUS=1 "));
    EXPECT_TRUE(responses_.at(2).starts_with("PROCESS=other:ALL STATUS=1 "));
}

TEST_F(ProcessMmlogdir, UsesAValueWithAnEqualsSignAsTheName) {
    EXPECT_EQ(process({"abc=700"}), 0);
    EXPECT_EQ(mode_of(debug + "/abc=700"), 0755U);
}

TEST_F(ProcessMmlogdir, CreatesOneLevelOnly) {
    EXPECT_EQ(process({"a/b"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=MMLOGDIR:a/b STATUS=1 MSG=Failed to create log directory DIR=" + debug +
                                     "/a/b E=2 (No such file or directory)\n"}));
    EXPECT_EQ(messages().back(), (LogLine{error, tag, responses_.at(0)}));
    make_folder(debug + "/a");
    EXPECT_EQ(process({"a/b"}), 0);
    EXPECT_TRUE(exists(debug + "/a/b"));
}

TEST_F(ProcessMmlogdir, ContinuesAfterAFailure) {
    EXPECT_EQ(process({"a/b", "c"}), 0);
    EXPECT_EQ(responses_.size(), 2U);
    EXPECT_TRUE(exists(debug + "/c"));
}

TEST_F(ProcessMmlogdir, CreatesOnlyTheRootForAnotherAction) {
    for (const std::string action : {"disable", "reset", "Enable"}) {
        remove_tree(debug);
        recording_platform::reset();
        responses_.clear();
        EXPECT_EQ(process({"abc"}, action.c_str()), 0);
        EXPECT_TRUE(exists(debug));
        EXPECT_FALSE(exists(debug + "/abc"));
        EXPECT_EQ(responses_, (Responses{"PROCESS=MMLOGDIR:abc STATUS=0 MSG= DIR=" + debug + "/abc\n"}));
        EXPECT_EQ(messages(), (Lines{{information, tag, "Action=" + action + ", DIR=" + debug + "/abc"},
                                     {error, tag, "Invalid action=" + action},
                                     {information, tag, responses_.at(0)}}));
    }
}

TEST_F(ProcessMmlogdir, CreatesTheRootWithoutAValue) {
    EXPECT_EQ(process({}), 0);
    EXPECT_TRUE(exists(debug));
    EXPECT_EQ(responses_, Responses{});
    EXPECT_EQ(messages(), Lines{});
}

TEST_F(ProcessMmlogdir, Returns1WithOneLineWhenTheRootCannotBeCreated) {
    remove_tree("/usr/kumel/volmgr");
    for (const Values& values : {Values{"a", "b"}, Values{}}) {
        recording_platform::reset();
        responses_.clear();
        EXPECT_EQ(process(values), 1);
        EXPECT_EQ(responses_, (Responses{"PROCESS=MMLOGDIR:ALL STATUS=1 MSG=Failed to create DIR=" + debug +
                                         " E=2 (No such file or directory)\n"}));
        EXPECT_EQ(messages(), (Lines{{error, tag, responses_.at(0)}}));
    }
}

TEST_F(ProcessMmlogdir, Returns1ForAnyActionWhenTheRootCannotBeCreated) {
    remove_tree("/usr/kumel/volmgr");
    EXPECT_EQ(process({"a"}, "disable"), 1);
    EXPECT_EQ(responses_.size(), 1U);
}

TEST_F(ProcessMmlogdir, TreatsAFileAsAnExistingRoot) {
    write_file(debug, "");
    EXPECT_EQ(process({"a"}), 0);
    EXPECT_EQ(responses_, (Responses{"PROCESS=MMLOGDIR:a STATUS=1 MSG=Failed to create log directory DIR=" + debug +
                                     "/a E=20 (Not a directory)\n"}));
}

TEST_F(ProcessMmlogdir, CutsTheLineTo1023Characters) {
    const std::string name(1000, 'n');
    process({name}, "reset");
    EXPECT_EQ(responses_, (Responses{("PROCESS=MMLOGDIR:" + name + " STATUS=0 MSG= DIR=/usr").substr(0, 1023)}));
}

TEST_F(ProcessMmlogdir, CutsTheLineOfAFailureTo1023Characters) {
    for (const std::string& name : {too_long_name, fitting_name("MMLOGDIR", debug)}) {
        responses_.clear();
        process({name});
        EXPECT_EQ(responses_, (Responses{line_for_long_name("MMLOGDIR", name, debug).substr(0, 1023)}));
    }
}

}  // namespace
