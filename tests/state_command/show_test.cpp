// The settings that zmlogstate show prints.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "tests/state_command/json_objects.h"
#include "tests/state_command/state_test.h"
#include "tests/support/agent_runner.h"
#include "tests/support/test_files.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

std::vector<std::string> shown(const Arguments& arguments) {
    const CommandRun run = run_command(Arguments{"show"} + arguments);
    expect_status(run, 0);
    return lines_of(run.output);
}

}  // namespace

class Show : public StateTest {};

TEST_F(Show, NamesActiveSettingsInTheOrderOfTheCategories) {
    make_folder(logs_folder + "/jobd");
    make_folder("/usr/kumel/volmgr/debug/robots");
    EXPECT_THAT(shown({}), ElementsAre("ZMKTUL:112=1 /usr/kumel/ktul/51216.conf",      //
                                       "ZMKTUL:111=3 /usr/kumel/ktul/51216.conf",      //
                                       "QPKTUL:112=1 /usr/kumel/ktul/58330.conf",      //
                                       "QPKTUL:111=3 /usr/kumel/ktul/58330.conf",      //
                                       "SEARCHKTUL:112=1 /usr/kumel/ktul/60385.conf",  //
                                       "SEARCHKTUL:111=3 /usr/kumel/ktul/60385.conf",  //
                                       "ZMLOGDIR:jobd=755 /usr/kumel/zembrath/logs/jobd",
                                       "MMLOGDIR:robots /usr/kumel/volmgr/debug/robots",
                                       "QRCONF:Jobd_Verbose=2 /usr/kumel/zembrath/qr.conf",
                                       "RK:qtpiped=full /usr/kumel/lib/stg-plugins/qtpipe.conf",
                                       "CORVID:zmwqf=2 /usr/kumel/lib/stg-plugins/wqf.conf",
                                       "JAVAGUI:printcmds=false /usr/kumel/java/Debug.properties",
                                       "JAVAGUI:debugMask=0x1 /usr/kumel/java/Debug.properties",
                                       "HOLKAZ:az=\"1\" /usr/kumel/zembrath/sec/az/bin/HOLKaz.conf"));
}

TEST_F(Show, NamesEverythingAfterARequestForAllCategories) {
    raise_all_logging();
    const std::vector<std::string> lines = shown({});
    for (const char* line : {"ZMKTUL:111=6 /usr/kumel/ktul/51216.conf",
                             "ZMKTUL:117=6 /usr/kumel/ktul/51216.conf",
                             "QPKTUL:111=6 /usr/kumel/ktul/58330.conf",
                             "SEARCHKTUL:7=4 /usr/kumel/ktul/60385.conf",
                             "ZMLOGDIR:jobd=755 /usr/kumel/zembrath/logs/jobd",
                             "ZMLOGDIR:a/b=755 /usr/kumel/zembrath/logs/a/b",
                             "MMLOGDIR:robots /usr/kumel/volmgr/debug/robots",
                             "QRCONF:VERBOSE=3 /usr/kumel/zembrath/qr.conf",
                             "QRCONF:JOBD_VERBOSE=5 /usr/kumel/zembrath/qr.conf",
                             "QRCONF:NEW_VERBOSE=5 /usr/kumel/zembrath/qr.conf",
                             "RK:qtpiped=some /usr/kumel/lib/stg-plugins/qtpipe.conf",
                             "RK:spoold=full /usr/kumel/lib/pd/agent.cfg",
                             "RKPLUGIN:DEBUGLOG=/ /usr/kumel/lib/stg-plugins/rk.conf",
                             "RKPLUGIN:rkplugin=10 /usr/kumel/lib/stg-plugins/rk.conf",
                             "CORVID:zmwqf=5 /usr/kumel/lib/stg-plugins/wqf.conf",
                             "CORVID:hlt=9 /usr/kumel/lib/stg-plugins/hlt.conf",
                             "CLOUD:skyhold=5 /usr/kumel/lib/stg-plugins/skyhold.conf",
                             "JAVAGUI:printcmds=true /usr/kumel/java/Debug.properties",
                             "JAVAGUI:debugMask=0x00040000 /usr/kumel/java/Debug.properties",
                             "HOLKAZ:az=\"6\" /usr/kumel/zembrath/sec/az/bin/HOLKaz.conf",
                             "VMCONF:VERBOSE=on /usr/kumel/volmgr/vm.conf"}) {
        EXPECT_THAT(lines, Contains(line));
    }
    EXPECT_THAT(lines, Not(Contains(HasSubstr("KOB:"))));
}

// A request with the shown settings sets them on another installation.
TEST_F(Show, ShowsSettingsInTheFormOfARequest) {
    raise_all_logging();
    const std::vector<std::string> raised = shown({});
    ASSERT_FALSE(raised.empty());
    make_installation();
    Request request = {"ENABLELOGGING"};
    for (const std::string& line : raised) {
        request.push_back(line.substr(0, line.find(' ')));
    }
    EXPECT_EQ(run_agent(request).status(), 0);
    EXPECT_THAT(shown({}), testing::UnorderedElementsAreArray(raised));
}

TEST_F(Show, ShowsOnlyTheGivenCategories) {
    EXPECT_THAT(shown({"HOLKAZ", "CORVID"}), ElementsAre("CORVID:zmwqf=2 /usr/kumel/lib/stg-plugins/wqf.conf",
                                                         "HOLKAZ:az=\"1\" /usr/kumel/zembrath/sec/az/bin/HOLKaz.conf"));
}

TEST_F(Show, WithAllNamesUnsetSettingsAndThatTheBrokersLevelIsUnknown) {
    const std::vector<std::string> lines = shown({"--all"});
    for (const char* line :
         {"QRCONF:VERBOSE=- /usr/kumel/zembrath/qr.conf", "QRCONF:TAPEMGR_VERBOSE=- /usr/kumel/zembrath/qr.conf",
          "RK:spoold=- /usr/kumel/lib/pd/agent.cfg", "RKPLUGIN:DEBUGLOG=- /usr/kumel/lib/stg-plugins/rk.conf",
          "RKPLUGIN:rkplugin=- /usr/kumel/lib/stg-plugins/rk.conf", "CORVID:hlt=- /usr/kumel/lib/stg-plugins/hlt.conf",
          "CLOUD:skyhold=- /usr/kumel/lib/stg-plugins/skyhold.conf", "VMCONF:VERBOSE=- /usr/kumel/volmgr/vm.conf"}) {
        EXPECT_THAT(lines, Contains(line));
    }
    EXPECT_THAT(lines, Contains(testing::MatchesRegex("KOB:kob=. /opt/HOLKkob/bin/ktlogcfg .*not known.*")));
    EXPECT_THAT(lines, Not(Contains("QRCONF:JOBD_VERBOSE=- /usr/kumel/zembrath/qr.conf")));
}

TEST_F(Show, ShowsTheFirstEntryOfAnOriginatorApartFromItsDiagnosticLevel) {
    write_file(store,
               "7.DebugLevel=2\n7.DebugLevel=5\n7.DiagnosticLevel=4\n07.DebugLevel=1\n7.Other=1\n#8.DebugLevel=1\n");
    EXPECT_THAT(shown({"ZMKTUL"}), ElementsAre("ZMKTUL:7.DiagnosticLevel=4 /usr/kumel/ktul/51216.conf",
                                               "ZMKTUL:7=2 /usr/kumel/ktul/51216.conf"));
}

TEST_F(Show, ShowsTheFirstLineOfAKeyOfTheMainConfigurationAndNoOtherKeys) {
    write_file(main_configuration, "SERVER = x\n  job_verbose=\t7 \r\nJOB_VERBOSE = 1\n# VERBOSE = 2\nVERBOSITY = 3\n");
    EXPECT_THAT(shown({"QRCONF"}), ElementsAre("QRCONF:job_verbose=7 /usr/kumel/zembrath/qr.conf"));
}

TEST_F(Show, TreatsALineWithANumberSignAsCommented) {
    write_file(plugin_file, "LOGLEVEL = 3 # since May\nDEBUGLOG = /x\n");
    EXPECT_THAT(shown({"RKPLUGIN"}), ElementsAre("RKPLUGIN:DEBUGLOG=/x /usr/kumel/lib/stg-plugins/rk.conf"));
}

TEST_F(Show, ShowsEveryValueOfARepeatedSetting) {
    write_file(container_file, "SHCT_LOG_LEVEL=1\nSHCT_LOG_LEVEL=2\nSHCT_LOG_LEVEL=1\n");
    EXPECT_THAT(shown({"CLOUD"}), ElementsAre("CLOUD:skyhold=1 /usr/kumel/lib/stg-plugins/skyhold.conf",
                                              "CLOUD:skyhold=2 /usr/kumel/lib/stg-plugins/skyhold.conf"));
}

TEST_F(Show, ExpectsTheBareKeywordOfTheVolumeManager) {
    write_file(volume_manager_file, "VERBOSE=2\nNOVERBOSE\n");
    EXPECT_THAT(shown({"VMCONF"}), IsEmpty());
    write_file(volume_manager_file, "x\nVERBOSE\r\n");
    EXPECT_THAT(shown({"VMCONF"}), ElementsAre("VMCONF:VERBOSE=on /usr/kumel/volmgr/vm.conf"));
}

TEST_F(Show, SkipsTheAgentsOwnFoldersAndWhatIsNotADirectory) {
    make_folder(logs_folder + "/zmlogadmagent");
    make_folder(logs_folder + "/zmlaevidence/zmla-x");
    write_file(logs_folder + "/file", "");
    make_link("/nowhere", logs_folder + "/dangling");
    make_folder("/tmp/elsewhere/below");
    make_link("/tmp/elsewhere", logs_folder + "/linked");
    EXPECT_THAT(shown({"ZMLOGDIR"}), ElementsAre("ZMLOGDIR:linked=755 /usr/kumel/zembrath/logs/linked"));
}

TEST_F(Show, ShowsAllPermissionBitsOfALogDirectory) {
    for (const unsigned mode : {0070U, 0755U, 01777U, 02775U, 04700U}) {
        make_folder(logs_folder + "/" + std::to_string(mode));
        set_mode(logs_folder + "/" + std::to_string(mode), mode);
    }
    EXPECT_THAT(shown({"ZMLOGDIR"}), ElementsAre("ZMLOGDIR:1023=1777 " + logs_folder + "/1023",  //
                                                 "ZMLOGDIR:1533=2775 " + logs_folder + "/1533",  //
                                                 "ZMLOGDIR:2496=4700 " + logs_folder + "/2496",  //
                                                 "ZMLOGDIR:493=755 " + logs_folder + "/493",     //
                                                 "ZMLOGDIR:56=070 " + logs_folder + "/56"));
}

TEST_F(Show, EscapesControlCharacters) {
    make_folder(logs_folder + "/a\nb\x1b[2J");
    write_file(container_file, "SHCT_LOG_LEVEL=\x7f\t1\n");
    EXPECT_THAT(shown({"ZMLOGDIR", "CLOUD"}),
                ElementsAre("ZMLOGDIR:a\\nb\\x1b[2J=755 /usr/kumel/zembrath/logs/a\\nb\\x1b[2J",
                            "CLOUD:skyhold=\\x7f\\t1 /usr/kumel/lib/stg-plugins/skyhold.conf"));
}

TEST_F(Show, FindsTheRegisteredFileUpToAZeroByteAndInTheRootFolder) {
    using namespace std::string_literals;
    write_file("/etc/rkregistry.cfg", "kpa.cfg=usr/kumel/java/../lib/pd/agent.cfg\0rest\n"s);
    write_file(registered_file, "Logging=high,thread\n");
    EXPECT_THAT(shown({"RK"}), Contains("RK:spoold=high /usr/kumel/lib/pd/agent.cfg"));
}

TEST_F(Show, KnowsNoSharedFileWhenTheRegistryNamesNone) {
    for (const char* registry : {"", "other=1\n", "kpa.cfg\n", "kpa.cfg=\n", "kpa.cfg=\nkpa.cfg=/opt/second\n"}) {
        write_file("/etc/rkregistry.cfg", registry);
        EXPECT_THAT(shown({"--all", "RK"}), ElementsAre("RK:qtpiped=full /usr/kumel/lib/stg-plugins/qtpipe.conf"));
    }
}

TEST_F(Show, ShowsNothingOnAHostWithoutTheProduct) {
    remove_tree("/usr/kumel");
    remove_tree("/etc/rkregistry.cfg");
    EXPECT_THAT(shown({}), IsEmpty());
}

TEST_F(Show, NamesAFileThatItCannotReadAndShowsTheOthers) {
    remove_tree(store);
    make_folder(store);
    const CommandRun run = run_command({"show"});
    EXPECT_EQ(run.exit_status, 2);
    EXPECT_EQ(run.errors, "zmlogstate: cannot read /usr/kumel/ktul/51216.conf: Is a directory\n");
    EXPECT_THAT(lines_of(run.output), Contains("QPKTUL:111=3 /usr/kumel/ktul/58330.conf"));
}

// Their settings are neither active nor "not set".
TEST_F(Show, NamesNoSettingsOfFilesThatItCannotRead) {
    for (const std::string& path : {store, main_configuration, registered_file, plugin_file, storage_file,
                                    container_file, console_file, authorization_file, volume_manager_file}) {
        remove_tree(path);
        make_folder(path);
        const CommandRun run = run_command({"show", "--all"});
        EXPECT_EQ(run.exit_status, 2);
        EXPECT_THAT(lines_of(run.output), Not(Contains(testing::EndsWith(" " + path))));
        EXPECT_THAT(lines_of(run.errors), Contains("zmlogstate: cannot read " + path + ": Is a directory").Times(1));
    }
}

TEST_F(Show, TakesSettingsOfAMissingFileForNotSet) {
    remove_tree(container_file);
    EXPECT_THAT(shown({"--all", "CLOUD"}), ElementsAre("CLOUD:skyhold=- " + container_file));
}

TEST_F(Show, DoesNotWaitForAFifo) {
    remove_tree(console_file);
    ASSERT_EQ(mkfifo(console_file.c_str(), 0600), 0);
    EXPECT_EQ(run_command({"show"}).exit_status, 2);
}

TEST_F(Show, RejectsAnUnknownCategory) {
    const CommandRun run = run_command({"show", "ZMKTUL", "zmktul"});
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_THAT(run.errors, HasSubstr("\"zmktul\""));
    EXPECT_EQ(run.output, "");
}

TEST_F(Show, ChangesNothing) {
    const Snapshot before = take_whole_snapshot();
    EXPECT_THAT(shown({"--all"}), Not(IsEmpty()));
    EXPECT_EQ(take_whole_snapshot(), before);
}

TEST_F(Show, HasTheSameSettingsInJson) {
    raise_all_logging();
    const CommandRun run = run_command({"show", "--json", "--all"});
    expect_status(run, 0);
    const std::vector<Object> objects = objects_of(run.output);
    ASSERT_FALSE(objects.empty());
    EXPECT_EQ(objects[0]["type"], "show");
    EXPECT_EQ(objects[0]["format"], 1);
    EXPECT_EQ(objects[0]["host"], "agenthost.example.test");
    EXPECT_THAT(objects, Contains(Object::parse(R"({"type":"setting","category":"ZMKTUL","name":"117","set":true,
        "value":"6","file":"/usr/kumel/ktul/51216.conf","request":"ZMKTUL:117=6"})")));
    EXPECT_THAT(objects, Contains(Object::parse(R"({"type":"setting","category":"RKPLUGIN","name":"DEBUGLOG","set":true,
        "value":"/","file":"/usr/kumel/lib/stg-plugins/rk.conf","request":null})")));
    EXPECT_THAT(objects, Contains(Object::parse(R"({"type":"setting","category":"QRCONF","name":"REQD_VERBOSE",
        "set":false,"value":null,"file":"/usr/kumel/zembrath/qr.conf","request":null})")));
    EXPECT_THAT(objects, Contains(Object::parse(R"({"type":"setting","category":"KOB","name":"kob","set":null,
        "value":null,"file":"/opt/HOLKkob/bin/ktlogcfg","request":null})")));
}

TEST_F(Show, HasTheTimeOfUtcInJson) {
    const std::string output = run_command({"show", "--json", "CLOUD"}, [] { setenv("TZ", "ELSEWHERE-5", 1); }).output;
    const std::string time = objects_of(output).at(0)["time"];
    tm parts{};
    ASSERT_NE(strptime(time.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts), nullptr);
    EXPECT_NEAR(static_cast<double>(timegm(&parts)), static_cast<double>(::time(nullptr)), 600);
}

TEST_F(Show, HasNoRequestInJsonThatTheAgentWouldReject) {
    const std::string start = "CLOUD:skyhold=";
    for (const auto& [size, fits] : {std::pair(2047U, true), std::pair(2048U, false)}) {
        const std::string value(size - start.size(), 'x');
        write_file(container_file, "SHCT_LOG_LEVEL=" + value + "\n");
        const std::vector<Object> objects = objects_of(run_command({"show", "--json", "CLOUD"}).output);
        ASSERT_EQ(objects.size(), 2U);
        EXPECT_EQ(objects[1]["value"], value);
        EXPECT_EQ(objects[1]["request"], fits ? Object(start + value) : Object(nullptr));
    }
}

TEST_F(Show, HasBytesThatAreNotTextInJson) {
    write_file(container_file, "SHCT_LOG_LEVEL=\xff\n");
    const CommandRun run = run_command({"show", "--json", "CLOUD"});
    const std::vector<Object> objects = objects_of(run.output);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[1]["value"], "\xEF\xBF\xBD");
    EXPECT_EQ(objects[1]["value_base64"], "/w==");
}

TEST_F(Show, NamesUnreadableFilesAndItsOwnFailureInJson) {
    remove_tree(store);
    make_folder(store);
    EXPECT_THAT(objects_of(run_command({"show", "--json"}).output),
                Contains(Object::parse(R"({"type":"error","code":"not_read","file":"/usr/kumel/ktul/51216.conf",
                    "errno":21,"message":"cannot read /usr/kumel/ktul/51216.conf: Is a directory"})")));
    const std::vector<Object> objects = objects_of(run_command({"show", "--json", "X"}).output);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0]["code"], "failed");
}

TEST_F(Show, PrintsItsOwnFailureInJsonWhenTheOptionIsAbbreviated) {
    EXPECT_EQ(objects_of(run_command({"show", "--js", "X"}).output).size(), 1U);
}

TEST_F(Show, PrintsItsOwnFailureAsTextWhenAnArgumentLooksLikeTheOption) {
    EXPECT_EQ(run_command({"show", "--", "--json"}).output, "");
}
