// Which tool runs with which arguments, and how its end becomes a status.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "tests/unit/external_command.h"

namespace {

using log_level::error;
using log_level::information;
using recording_platform::calls_of;
using recording_platform::child_messages_under;
using recording_platform::messages_under;

// Returns what follows the beginning, up to the end of its line.
std::string line_after(const std::string& beginning, const std::string& text) {
    const std::size_t start = text.find(beginning) + beginning.size();
    return text.substr(start, text.find('\n', start) - start);
}

TEST_F(ExecuteCmdSendOutput, SendsTheToolsOutputAndAFinalNewline) {
    write_tool(utility, "echo out\necho err >&2\n");
    EXPECT_EQ(execute({"zmsu"}), 0);
    EXPECT_EQ(socket_.received(), "out\nerr\n\n");
}

TEST_F(ExecuteCmdSendOutput, LogsTheLifeOfTheChild) {
    write_tool(utility, "exit 3\n");
    execute({"zmsu"});
    const auto in_full = recording_platform::messages_in_full();
    const auto child =
        std::find_if(in_full.begin(), in_full.end(), [](const auto& message) { return message.line.pid != getpid(); });
    ASSERT_NE(child, in_full.end());
    EXPECT_EQ(
        messages_under(tag),
        (Lines{{information, tag, "child process started C=" + utility + " PID=" + std::to_string(child->line.pid)},
               {information, tag, "child process exited CEC=3 C=" + utility},
               nothing_to_read_}));
    EXPECT_EQ(messages_under("getcommandpath").size(), 1U);
    EXPECT_EQ(messages_under("socksend"), (Lines{{information, "socksend", "sent installment #1: 1 of 1"},
                                                 {information, "socksend", "sent M=\n L=1, 1"}}));
}

TEST_F(ExecuteCmdSendOutput, ReturnsTheToolsExitCode) {
    write_tool(utility, "exit $1\n");
    EXPECT_EQ(execute({"zmsu", "3"}), 3);
    EXPECT_EQ(execute({"zmsu", "255"}), 255);
}

TEST_F(ExecuteCmdSendOutput, RunsTheSameFileForBothWordsOfTheSupportUtility) {
    write_tool(utility, "echo utility\n");
    write_tool(bin + "support/zmsu", "echo another program\n");
    execute({"zmsu"});
    execute({"RUNZMSU"});
    EXPECT_EQ(socket_.received(), "utility\n\nutility\n\n");
}

TEST_F(ExecuteCmdSendOutput, RunsTheToolsOfTheOtherWords) {
    write_tool(bin + "support/zmcplogs", "echo zmcplogs\n");
    write_tool(bin + "goodies/support/versioninfo", "echo versioninfo\n");
    write_tool(bin + "private/ktlogcfg", "echo ktlogcfg\n");
    write_tool(bin + "support/zmlogadm", "echo zmlogadm\n");
    for (const char* word : {"zmcplogs", "RUNZMCPLOGS", "CALCLOGSIZE", "versioninfo", "ktlogcfg", "ZMLA"}) {
        EXPECT_EQ(execute({word}), 0) << word;
    }
    EXPECT_EQ(socket_.received(), "zmcplogs\n\nzmcplogs\n\nzmcplogs\n\nversioninfo\n\nktlogcfg\n\nzmlogadm\n\n");
}

TEST_F(ExecuteCmdSendOutput, PassesTheArgumentsAfterTheWordUnchanged) {
    write_tool(utility, "printf '[%s]' \"$@\"\n");
    execute({"zmsu", "-a", "", "two words", "$HOME;*", "%s"});
    EXPECT_EQ(socket_.received(), "[-a][][two words][$HOME;*][%s]\n");
}

TEST_F(ExecuteCmdSendOutput, PassesTheToolItsPathInsteadOfTheWord) {
    make_folder(bin + "support");
    make_link("/bin/cat", utility);
    execute({"zmsu", "/proc/self/cmdline"});
    EXPECT_EQ(socket_.received(), utility + '\0' + "/proc/self/cmdline" + '\0' + "\n");
}

TEST_F(ExecuteCmdSendOutput, RunsAToolWithoutArgumentsForARequestOfOneElement) {
    write_tool(utility, "echo $#\n");
    execute({"zmsu"});
    EXPECT_EQ(socket_.received(), "0\n\n");
    EXPECT_EQ(child_messages_under("setup_execvp_argv"),
              (Lines{{information, "setup_execvp_argv", "input C=" + utility + ", #ARGS=1, MAX ARGV SLOTS=512"}}));
}

TEST_F(ExecuteCmdSendOutput, LogsEachArgumentWithItsSlot) {
    write_tool(utility, "");
    execute({"zmsu", "-a", "%n"});
    EXPECT_EQ(child_messages_under("setup_execvp_argv"),
              (Lines{{information, "setup_execvp_argv", "input C=" + utility + ", #ARGS=3, MAX ARGV SLOTS=512"},
                     {information, "setup_execvp_argv", "adding arg A=-a I=2"},
                     {information, "setup_execvp_argv", "adding arg A=%n I=3"}}));
}

TEST_F(ExecuteCmdSendOutput, RunsARequestOf510Elements) {
    write_tool(utility, "echo $#\n");
    RequestVector request(510, "x");
    request[0] = "zmsu";
    EXPECT_EQ(execute(request), 0);
    EXPECT_EQ(socket_.received(), "509\n\n");
}

TEST_F(ExecuteCmdSendOutput, DoesNotRunARequestOf511Elements) {
    write_tool(utility, "echo $#\n");
    RequestVector request(511, "x");
    request[0] = "zmsu";
    EXPECT_EQ(execute(request), 29);
    EXPECT_EQ(socket_.received(), "\n");
    EXPECT_EQ(child_messages_under("setup_execvp_argv"),
              (Lines{{information, "setup_execvp_argv", "input C=" + utility + ", #ARGS=511, MAX ARGV SLOTS=512"},
                     {error, "setup_execvp_argv", "Not enough argv slots. #ARGS=511 SLOTS=512"}}));
    EXPECT_EQ(child_messages_under(tag), Lines{});
}

TEST_F(ExecuteCmdSendOutput, Returns29ForAMissingTool) {
    EXPECT_EQ(execute({"zmsu"}), 29);
    EXPECT_EQ(child_messages_under(tag), (Lines{{error, tag, "execvp() failed C=" + utility + " EC=-1"}}));
    EXPECT_EQ(later_messages(),
              (Lines{{information, tag, "child process exited CEC=29 C=" + utility}, nothing_to_read_}));
}

TEST_F(ExecuteCmdSendOutput, Returns29ForAToolThatIsNotAProgram) {
    make_folder(utility);
    EXPECT_EQ(execute({"zmsu"}), 29);
}

TEST_F(ExecuteCmdSendOutput, Returns29ForAWordWithoutATool) {
    EXPECT_EQ(execute({"ENABLELOGGING"}), 29);
    EXPECT_EQ(child_messages_under(tag), (Lines{{error, tag, "execvp() failed C= EC=-1"}}));
}

TEST_F(ExecuteCmdSendOutput, Returns27ForAToolThatASignalEnded) {
    write_tool(utility, "kill -9 $$\n");
    EXPECT_EQ(execute({"zmsu"}), 27);
    EXPECT_EQ(later_messages(), (Lines{{error, tag, "child process terminated w/ signal SIG=9 C=" + utility},
                                       {information, tag, "child process exited CEC=27 C=" + utility},
                                       nothing_to_read_}));
}

TEST_F(ExecuteCmdSendOutput, Returns27ForAToolThatTheHighestSignalEnded) {
    write_tool(utility, "kill -64 $$\n");
    EXPECT_EQ(execute({"zmsu"}), 27);
    EXPECT_EQ(later_messages().front(),
              (LogLine{error, tag, "child process terminated w/ signal SIG=64 C=" + utility}));
}

TEST_F(ExecuteCmdSendOutput, ReportsTheSignalOfAToolThatDumpedCoreWithoutTheFlagOfTheDump) {
    write_tool(utility, "kill -9 $$\n");
    overrides.wait_status_flags = WCOREFLAG;
    EXPECT_EQ(execute({"zmsu"}), 27);
    EXPECT_EQ(later_messages().front(), (LogLine{error, tag, "child process terminated w/ signal SIG=9 C=" + utility}));
}

TEST_F(ExecuteCmdSendOutput, Returns5766WhenNoProcessCanBeForked) {
    failures["fork"] = {EAGAIN};
    EXPECT_EQ(execute({"zmsu"}), 5766);
    EXPECT_EQ(messages_under(tag),
              (Lines{{error, tag, "fork() failed C=" + utility + " ERRNO=11 (Resource temporarily unavailable)"}}));
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(ExecuteCmdSendOutput, Returns5769WhenTheChildCannotBeAwaited) {
    write_tool(utility, "exit 3\n");
    failures["waitpid"] = {ECHILD};
    EXPECT_EQ(execute({"zmsu"}), 5769);
    EXPECT_EQ(later_messages(),
              (Lines{{error, tag, "waitpid() failed C=" + utility + " ERRNO=10 (No child processes)"}}));
    EXPECT_EQ(calls_of("recv"), Texts{});
}

TEST_F(ExecuteCmdSendOutput, WaitsOnlyForItsOwnChild) {
    write_tool(utility, "exit 3\n");
    EXPECT_EQ(run_in_child([&] {
                  const pid_t other = fork();
                  if (other == 0) {
                      _exit(9);
                  }
                  // The other child has ended first, and nobody has waited for it.
                  siginfo_t end{};
                  waitid(P_PID, static_cast<id_t>(other), &end, WEXITED | WNOWAIT);
                  return execute({"zmsu"});
              }),
              3);
}

// When the peer has gone, writes of a tool fail like those of the agent, and no signal ends it.
TEST_F(ExecuteCmdSendOutput, LeavesTheSignalsAsTheAgentSetThem) {
    make_folder(bin + "support");
    make_link("/bin/cat", utility);
    EXPECT_EQ(execute({"zmsu", "/proc/self/status"}), 0);
    const std::string status_of_tool = socket_.received();
    const std::string own_status = read_file("/proc/self/status");
    for (const char* signals : {"\nSigBlk:\t", "\nSigIgn:\t"}) {
        EXPECT_EQ(line_after(signals, status_of_tool), line_after(signals, own_status)) << signals;
    }
    const unsigned long ignored = std::stoul(line_after("\nSigIgn:\t", status_of_tool), nullptr, 16);
    EXPECT_NE(ignored & (1UL << (SIGPIPE - 1)), 0U);
}

}  // namespace
