#include "commands/external_commands.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls_of;
using recording_platform::child_messages_under;
using recording_platform::messages_under;

using log_level::detail;
using log_level::error;
using log_level::information;
constexpr const char* tag = "execute_cmd_send_output";
const std::string bin = "/usr/kumel/zembrath/bin/";
const std::string utility = bin + "support/old_zmsu";

class ExecuteCmdSendOutput : public ProductPathTest {
  protected:
    ExecuteCmdSendOutput() { signal(SIGPIPE, SIG_IGN); }

    int execute(const RequestVector& request) {
        return call_that_forks([&] { return execute_cmd_send_output(request, socket_.agent()); });
    }

    // The messages of the parent, without the first one, which tells the child's number.
    static Lines later_messages() {
        Lines lines = messages_under(tag);
        lines.erase(lines.begin());
        return lines;
    }

    // What follows the beginning up to the end of its line.
    static std::string line_after(const std::string& beginning, const std::string& text) {
        const std::size_t start = text.find(beginning) + beginning.size();
        return text.substr(start, text.find('\n', start) - start);
    }

    std::string fd() const { return std::to_string(socket_.agent()); }

    const LogLine nothing_to_read_{detail, tag, "recv return value=-1 ERRNO=11 (Resource temporarily unavailable)"};
    AgentConnection socket_;
};

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
    EXPECT_EQ(messages_under("socksend").size(), 2U);
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

TEST_F(ExecuteCmdSendOutput, PassesTheArgumentsBehindTheWordLetterForLetter) {
    write_tool(utility, "printf '[%s]' \"$@\"\n");
    execute({"zmsu", "-a", "", "two words", "$HOME;*", "%s"});
    EXPECT_EQ(socket_.received(), "[-a][][two words][$HOME;*][%s]\n");
}

TEST_F(ExecuteCmdSendOutput, ShowsTheToolItsOwnPathInThePlaceOfTheWord) {
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

TEST_F(ExecuteCmdSendOutput, LogsEachArgumentCountedFromTheFilesSlot) {
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

TEST_F(ExecuteCmdSendOutput, Returns29ForAToolThatIsNoProgram) {
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

TEST_F(ExecuteCmdSendOutput, WaitsForItsOwnChildAlone) {
    write_tool(utility, "exit 3\n");
    EXPECT_EQ(run_in_child([&] {
                  const pid_t other = fork();
                  if (other == 0) {
                      _exit(9);
                  }
                  // The other one has ended first, and stays to be waited for.
                  siginfo_t end{};
                  waitid(P_PID, static_cast<id_t>(other), &end, WEXITED | WNOWAIT);
                  return execute({"zmsu"});
              }),
              3);
}

// Where the peer has gone, a tool's writes fail as the agent's own do, and no signal ends it.
TEST_F(ExecuteCmdSendOutput, LeavesTheSignalsAsTheAgentHasThem) {
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

TEST_F(ExecuteCmdSendOutput, Returns602WhenTheSocketCannotBeMadeNonBlocking) {
    write_tool(utility, "exit 3\n");
    failures["fcntl F_SETFL"] = {EPERM};
    EXPECT_EQ(execute({"zmsu"}), 602);
    EXPECT_EQ(later_messages(),
              (Lines{{information, tag, "child process exited CEC=3 C=" + utility},
                     {error, tag, "set socket nonblocking failed RV=-1 E=1 (Operation not permitted)"}}));
    EXPECT_EQ(calls_of("recv"), Texts{});
}

TEST_F(ExecuteCmdSendOutput, SetsTheNonBlockingFlagAloneAndLeavesItSet) {
    write_tool(utility, "");
    execute({"zmsu"});
    EXPECT_EQ(calls_of("fcntl " + fd() + " " + std::to_string(F_SETFL)),
              (Texts{"fcntl " + fd() + " " + std::to_string(F_SETFL) + " " + std::to_string(O_NONBLOCK)}));
    EXPECT_NE(fcntl(socket_.agent(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(ExecuteCmdSendOutput, ClearsTheNonBlockingFlagOnlyForTheTool) {
    write_tool(utility, "");
    const int flags = fcntl(socket_.agent(), F_GETFL);
    ASSERT_EQ(fcntl(socket_.agent(), F_SETFL, flags | O_NONBLOCK), 0);
    recording_platform::reset();
    EXPECT_EQ(execute({"zmsu"}), 0);
    const std::string set = "fcntl " + fd() + " " + std::to_string(F_SETFL) + " ";
    EXPECT_EQ(calls_of(set), (Texts{set + std::to_string(flags), set + std::to_string(O_NONBLOCK)}));
}

TEST_F(ExecuteCmdSendOutput, RunsTheToolAlsoWhereTheFlagCannotBeCleared) {
    write_tool(utility, "echo out\n");
    ASSERT_EQ(fcntl(socket_.agent(), F_SETFL, O_NONBLOCK), 0);
    failures["fcntl F_SETFL"] = always(EPERM);
    EXPECT_EQ(execute({"zmsu"}), 602);
    EXPECT_EQ(socket_.received(), "out\n");
}

TEST_F(ExecuteCmdSendOutput, ProbesThePeerWithOneByte) {
    write_tool(utility, "");
    execute({"zmsu"});
    EXPECT_EQ(calls_of("recv"), (Texts{"recv " + fd() + " 1 0"}));
}

TEST_F(ExecuteCmdSendOutput, Returns23WhateverTheToolsCodeWhenThePeerHasClosed) {
    write_tool(utility, "exit 3\n");
    socket_.peer_closes();
    EXPECT_EQ(execute({"zmsu"}), 23);
    const Lines lines = later_messages();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], (LogLine{information, tag, "child process exited CEC=3 C=" + utility}));
    EXPECT_EQ(lines[1].level, detail);
    EXPECT_TRUE(lines[1].text.starts_with("recv return value=0 ERRNO=")) << lines[1].text;
    EXPECT_EQ(lines[2], (LogLine{error, tag, "Peer socket is closed NSC=0"}));
}

TEST_F(ExecuteCmdSendOutput, Returns23WhenThePeerHasSentMore) {
    write_tool(utility, "exit 0\n");
    socket_.peer_sends("xy");
    EXPECT_EQ(execute({"zmsu"}), 23);
    const Lines lines = later_messages();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[1].text.starts_with("recv return value=1 ERRNO=")) << lines[1].text;
    EXPECT_EQ(lines[2], (LogLine{error, tag, "Peer socket is closed NSC=1"}));
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(ExecuteCmdSendOutput, TakesAFailingProbeForAPeerThatWaits) {
    write_tool(utility, "exit 3\n");
    failures["recv"] = {ECONNRESET};
    EXPECT_EQ(execute({"zmsu"}), 3);
    EXPECT_EQ(later_messages().back(),
              (LogLine{detail, tag, "recv return value=-1 ERRNO=104 (Connection reset by peer)"}));
    EXPECT_EQ(socket_.received(), "\n");
}

TEST_F(ExecuteCmdSendOutput, Returns5796WhenTheFinalNewlineCannotBeSent) {
    write_tool(utility, "exit 3\n");
    overrides.watched_descriptor = socket_.agent();
    overrides.writes = {{.accepted = -1, .error = EPIPE}};
    EXPECT_EQ(execute({"zmsu"}), 5796);
    EXPECT_EQ(later_messages().back(), (LogLine{error, tag, "failed to flush output E=32 (Broken pipe)"}));
}

TEST_F(ExecuteCmdSendOutput, LetsTheToolReadWhatThePeerSends) {
    write_tool(utility, "read line\necho \"got $line\"\n");
    socket_.peer_sends("an answer\n");
    EXPECT_EQ(execute({"zmsu"}), 0);
    EXPECT_EQ(socket_.received(), "got an answer\n\n");
}

TEST_F(ExecuteCmdSendOutput, DuplicatesTheSocketOntoTheThreeStandardStreams) {
    write_tool(utility, "");
    execute({"zmsu"});
    EXPECT_EQ(child_messages_under("setup_child_stdfds"),
              (Lines{{information, "setup_child_stdfds", "stdin dup2() INFD=" + fd() + " RV=0"},
                     {information, "setup_child_stdfds", "stdout dup2() INFD=" + fd() + " RV=1"},
                     {information, "setup_child_stdfds", "stderr dup2() INFD=" + fd() + " RV=2"}}));
}

TEST_F(ExecuteCmdSendOutput, OnlyLogsThatTheSocketCouldNotBeDuplicated) {
    write_tool(utility, "exit 3\n");
    failures["dup2"] = always(EBUSY);
    EXPECT_EQ(execute({"zmsu"}), 3);
    failing_calls::reset();  // the calls of the child process failed
    EXPECT_EQ(child_messages_under("setup_child_stdfds"),
              (Lines{{information, "setup_child_stdfds", "stdin dup2() INFD=" + fd() + " RV=-1"},
                     {information, "setup_child_stdfds", "stdout dup2() INFD=" + fd() + " RV=-1"},
                     {information, "setup_child_stdfds", "stderr dup2() INFD=" + fd() + " RV=-1"}}));
}

// One standard stream is the socket itself, in a process that the connection was made for.
class StandardStreamAsSocket : public ExecuteCmdSendOutput {
  protected:
    void execute_with(int stream, const Lines& expected) {
        write_tool(utility, "echo out\necho err >&2\n");
        const int status = run_in_child([&] {
            dup3(socket_.agent(), stream, 0);
            return execute_cmd_send_output({"zmsu"}, stream);
        });
        EXPECT_EQ(status, 0);
        EXPECT_EQ(socket_.received(), "out\nerr\n\n");
        EXPECT_EQ(child_messages_under("setup_child_stdfds"), expected);
    }
};

TEST_F(StandardStreamAsSocket, IsNotDuplicatedOntoStdin) {
    execute_with(0, {{information, "setup_child_stdfds", "stdout dup2() INFD=0 RV=1"},
                     {information, "setup_child_stdfds", "stderr dup2() INFD=0 RV=2"}});
}

TEST_F(StandardStreamAsSocket, IsNotDuplicatedOntoStdout) {
    execute_with(1, {{information, "setup_child_stdfds", "stdin dup2() INFD=1 RV=0"},
                     {information, "setup_child_stdfds", "stderr dup2() INFD=1 RV=2"}});
}

TEST_F(StandardStreamAsSocket, IsNotDuplicatedOntoStderr) {
    execute_with(2, {{information, "setup_child_stdfds", "stdin dup2() INFD=2 RV=0"},
                     {information, "setup_child_stdfds", "stdout dup2() INFD=2 RV=1"}});
}

TEST_F(ExecuteCmdSendOutput, LeavesTheSocketItselfOpenForTheTool) {
    write_tool(utility, "[ -e /proc/$$/fd/$1 ] && echo open || echo closed\n");
    execute({"zmsu", fd()});
    EXPECT_EQ(socket_.received(), "open\n\n");
}

}  // namespace
