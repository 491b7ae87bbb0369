// An agent with a limit on the size of files. Writes beyond the limit fail.
#include <csignal>

#include "tests/support/agent_runner.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

const std::string log_folder = logs_folder + "/zmlogadmagent";
const std::string store = "/usr/kumel/ktul/51216.conf";
constexpr std::size_t size_limit = 8192;

// Prints 1 if the tool starts with the signal ignored, else 0.
std::string print_if_ignored(int signal) {
    return "mask=$(sed -n 's/^SigIgn:\\t//p' /proc/self/status)\nprintf '%s ' $((0x$mask >> " +
           std::to_string(signal - 1) + " & 1))";
}

class FileSizeLimit : public ProductTest {
  protected:
    FileSizeLimit() { options_.file_size_limit = size_limit; }

    // Fills today's log to the limit.
    static void fill_log() {
        static_cast<void>(run_agent({"FETCHFILE"}));
        std::string line = "00:00:00.000 [1] <4> filler: ";
        line.resize(size_limit - 1, 'x');
        write_file(log_file(), line + "\n");
    }
    static std::string log_file() { return log_folder + "/" + names_in(log_folder).at(0); }

    AgentOptions options_;
};

TEST_F(FileSizeLimit, LetsARequestRunAfterTheLogHasReachedIt) {
    fill_log();
    const AgentRun run = run_agent({"GETDISKSPACE", "/tmp"}, options_);
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.exit_status(), 0);
    EXPECT_TRUE(run.output().starts_with("CALCLOGSIZE: TARGET_DIR=/tmp FREE_SPACE=")) << run.output();
    EXPECT_EQ(read_file(log_file()).size(), size_limit);
}

TEST_F(FileSizeLimit, LeavesATooLongMainConfigurationUnchanged) {
    const std::string text = "SERVER = localhost\n" + std::string(size_limit, '#') + "\n";
    write_file(main_configuration, text);
    const AgentRun run = run_agent({"ENABLELOGGING", "QRCONF:jobd_verbose"}, options_);
    EXPECT_EQ(run.output(),
              "PROCESS=QRCONF:jobd_verbose STATUS=1 MSG=qr.conf update failed (RV=6027 the main configuration qr.conf "
              "could not be updated (6027): File too large)\n");
    EXPECT_EQ(run.status(), 6027);
    EXPECT_EQ(read_file(main_configuration), text);
    EXPECT_EQ(names_in("/usr/kumel/zembrath"),
              (std::vector<std::string>{"bin", "logs", "qr.conf", "qr.conf.lock", "sec"}));
}

TEST_F(FileSizeLimit, LeavesATooLongLoggingStoreUnchanged) {
    const std::string text = "111.DebugLevel=1\n" + std::string(size_limit, '#') + "\n";
    write_file(store, text);
    const AgentRun run = run_agent({"ENABLELOGGING", "ZMKTUL:111=5"}, options_);
    EXPECT_EQ(run.output(), "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to write ktul cfg RV=27 LVL=5\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(read_file(store), text);
    EXPECT_EQ(names_in("/usr/kumel/ktul"), (std::vector<std::string>{"51216.conf", "51216.conf.lock"}));
}

// The agent ignores broken pipes, and its tools inherit that.
TEST_F(FileSizeLimit, StillEndsTools) {
    install_tool(zmsu_tool, {print_if_ignored(SIGXFSZ), print_if_ignored(SIGPIPE)});
    EXPECT_EQ(run_agent({"zmsu"}, options_).output(), "0 1 \n");
}

TEST_F(FileSizeLimit, DoesNotEndToolsOfAServiceThatIgnoresIt) {
    install_tool(zmsu_tool, {print_if_ignored(SIGXFSZ), print_if_ignored(SIGPIPE)});
    options_.ignored_signals = {SIGXFSZ};
    EXPECT_EQ(run_agent({"zmsu"}, options_).output(), "1 1 \n");
}

TEST_F(FileSizeLimit, DoesNotEndAnAgentThatIsStartedWithItIgnored) {
    fill_log();
    options_.ignored_signals = {SIGXFSZ};
    EXPECT_EQ(run_agent({"GETDISKSPACE", "/tmp"}, options_).exit_status(), 0);
}

}  // namespace
