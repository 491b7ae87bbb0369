// zmlogadm --json with the real agent, in a product tree.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/request_command/command_run.h"
#include "tests/request_command/json_lines.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"
#include "tests/support/tested_program.h"

namespace {

class JsonOfAgent : public ProductTest {
  protected:
    // Returns the objects of the answer, which must end with the status.
    [[nodiscard]] static JsonLines answer_to(const Arguments& request) {
        const CommandRun run = run_command(Arguments{"--json", "--agent", tested_program(ZMLA_AGENT_FILE)} + request);
        JsonLines lines = answer_lines(run.output);
        EXPECT_FALSE(lines.empty());
        EXPECT_EQ(lines.back().at("type"), "status");
        return lines;
    }

    // Returns the object of the first response line of a logging request.
    [[nodiscard]] static Json process_of(const std::string& category_and_values,
                                         const std::string& word = "ENABLELOGGING") {
        Json line = answer_to({word, category_and_values}).front();
        EXPECT_EQ(line.at("type"), "process") << line;
        return line;
    }
};

TEST_F(JsonOfAgent, ReportsLevels) {
    write_file("/usr/kumel/ktul/51216.conf", "111.DebugLevel=2\n111.DiagnosticLevel=6\n");
    EXPECT_EQ(process_of("ZMKTUL:111=5"), (Json{{"type", "process"},
                                                {"category", "ZMKTUL"},
                                                {"process", "111"},
                                                {"status", 0},
                                                {"message", "DEBUG:111=2,111=5 DIAG:111=6,111=6"},
                                                {"oid", 111},
                                                {"debug_before", 2},
                                                {"debug_after", 5},
                                                {"diagnostic_before", 6},
                                                {"diagnostic_after", 6}}));
    EXPECT_EQ(process_of("ZMKTUL:111=9"), (Json{{"type", "process"},
                                                {"category", "ZMKTUL"},
                                                {"process", "111"},
                                                {"status", 1},
                                                {"message", "failed to set debug level"},
                                                {"return_value", 22},
                                                {"level", 9}}));
    EXPECT_EQ(process_of("QPKTUL:118"), (Json{{"type", "process"},
                                              {"category", "QPKTUL"},
                                              {"process", "118"},
                                              {"status", 1},
                                              {"message", "Failed to load KtUL CFG"},
                                              {"oid", 118},
                                              {"product_id", 58330}}));
}

TEST_F(JsonOfAgent, ReportsDirectories) {
    EXPECT_EQ(process_of("ZMLOGDIR:jobd"), (Json{{"type", "process"},
                                                 {"category", "ZMLOGDIR"},
                                                 {"process", "jobd"},
                                                 {"status", 0},
                                                 {"message", "Set up log directory"},
                                                 {"directory", "/usr/kumel/zembrath/logs/jobd"},
                                                 {"permission", "755"}}));
    write_file("/usr/kumel/zembrath/logs/file", "");
    const Json failed = process_of("ZMLOGDIR:file/x");
    EXPECT_EQ(failed.at("directory"), "/usr/kumel/zembrath/logs/file/x");
    EXPECT_EQ(failed.at("errno"), ENOTDIR);
    EXPECT_EQ(failed.at("errno_text"), "Not a directory");
    remove_tree("/usr/kumel/volmgr");
    EXPECT_EQ(process_of("MMLOGDIR:a").at("process"), "ALL");
    make_folder("/usr/kumel/volmgr");
    EXPECT_EQ(process_of("MMLOGDIR:a"), (Json{{"type", "process"},
                                              {"category", "MMLOGDIR"},
                                              {"process", "a"},
                                              {"status", 0},
                                              {"message", "Set up log directory"},
                                              {"directory", "/usr/kumel/volmgr/debug/a"}}));
    EXPECT_EQ(process_of("MMLOGDIR:a", "RESETLOGGING").at("message"), "");
}

TEST_F(JsonOfAgent, ReportsEntriesOfFiles) {
    const Json missing = process_of("VMCONF:vmd");
    EXPECT_EQ(missing.at("message"), "Could not open file /usr/kumel/volmgr/vm.conf");
    EXPECT_EQ(missing.at("errno"), ENOENT);
    write_file("/usr/kumel/lib/stg-plugins/qtpipe.conf", "Logging=short\n");
    EXPECT_EQ(process_of("RK:qtpiped=long"), (Json{{"type", "process"},
                                                   {"category", "RK"},
                                                   {"process", "qtpiped"},
                                                   {"status", 0},
                                                   {"message", "Set debug logging 'long'"},
                                                   {"value", "long"}}));
    const Json no_registry = process_of("RK:spoold");
    EXPECT_EQ(no_registry.at("errno_text"), "No such file or directory");
    EXPECT_EQ(no_registry.at("value"), "full");
    EXPECT_EQ(process_of("RKPLUGIN:other").contains("process"), false);
    EXPECT_EQ(process_of("QRCONF:JOBD_VERBOSE=x").at("status"), 1);
    install_tool("/opt/HOLKkob/bin/ktlogcfg", {stand_in::exit_with(3)});
    EXPECT_EQ(process_of("KOB:kob=5").at("status"), 3 << 8);
}

TEST_F(JsonOfAgent, HasALineThatABufferCutAsOutput) {
    const std::string name(2000, 'n');
    const JsonLines lines = answer_to({"ENABLELOGGING", "MMLOGDIR:" + name, "MMLOGDIR:a"});
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].at("type"), "output");
    const std::string text = lines[0].at("text");
    EXPECT_TRUE(text.starts_with("PROCESS=MMLOGDIR:nnnn"));
    EXPECT_TRUE(text.ends_with("nPROCESS=MMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=/usr/kumel/volmgr/debug/a"));
}

TEST_F(JsonOfAgent, ReportsFreeSpace) {
    const JsonLines lines = answer_to({"GETDISKSPACE", "/tmp", "/"});
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].at("type"), "space");
    EXPECT_EQ(lines[0].at("directory"), "/tmp");
    EXPECT_TRUE(lines[0].at("free_mib").is_number_unsigned());
    EXPECT_TRUE(lines[0].at("total_mib").is_number_unsigned());
    EXPECT_EQ(lines[1].at("directory"), "/");
    EXPECT_EQ(lines[2], (Json{{"type", "status"},
                              {"status", 0},
                              {"text", "the requested operation was successfully completed"},
                              {"items", 0},
                              {"failed", 0},
                              {"not_answered", 0}}));
}

TEST_F(JsonOfAgent, ReportsPackagesAfterTheOutputOfTheTool) {
    install_tool(zmsu_tool, {stand_in::print("working\nstill"), stand_in::fill_last_argument({"one.tar"})});
    const JsonLines lines = answer_to({"RUNZMSU", "--collectdir", "/tmp/c"});
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], (Json{{"type", "output"}, {"text", "working"}}));
    EXPECT_EQ(lines[1], (Json{{"type", "output"}, {"text", "still"}}));
    EXPECT_EQ(lines[2].at("type"), "package");
    EXPECT_TRUE(lines[2].at("path").get<std::string>().starts_with("/tmp/c/zmla-"));
    EXPECT_TRUE(lines[2].at("path").get<std::string>().ends_with("/one.tar"));
}

TEST_F(JsonOfAgent, ReportsResultsOfCleanUps) {
    const std::string name = "/zmla-12345678901234567890123456789-abcdef";
    make_folder("/tmp/one" + name);
    make_folder("/tmp/two" + name + "/inner");
    const JsonLines lines = answer_to({"CLEANUP", "/tmp/one" + name, "/tmp/two" + name, "/tmp"});
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], (Json{{"type", "cleanup"}, {"result", "removed"}, {"directory", "/tmp/one" + name}}));
    EXPECT_EQ(lines[1].at("result"), "failed");
    EXPECT_EQ(lines[1].at("directory"), "/tmp/two" + name);
    EXPECT_NE(lines[1].at("error_text"), "");
    EXPECT_EQ(lines[2], (Json{{"type", "cleanup"}, {"result", "refused"}, {"directory", "/tmp"}}));
    EXPECT_EQ(lines[3].at("status"), 5820);
}

}  // namespace
