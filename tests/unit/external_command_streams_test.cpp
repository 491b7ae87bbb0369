// The socket as the standard streams of a tool, and the peer at its other end.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "tests/unit/external_command.h"

namespace {

using log_level::detail;
using log_level::error;
using log_level::information;
using recording_platform::calls_of;
using recording_platform::child_messages_under;

TEST_F(ExecuteCmdSendOutput, Returns602WhenTheSocketCannotBeMadeNonBlocking) {
    write_tool(utility, "exit 3\n");
    failures["fcntl F_SETFL"] = {EPERM};
    EXPECT_EQ(execute({"zmsu"}), 602);
    EXPECT_EQ(later_messages(),
              (Lines{{information, tag, "child process exited CEC=3 C=" + utility},
                     {error, tag, "set socket nonblocking failed RV=-1 E=1 (Operation not permitted)"}}));
    EXPECT_EQ(calls_of("recv"), Texts{});
}

TEST_F(ExecuteCmdSendOutput, SetsOnlyTheNonBlockingFlagAndLeavesItSet) {
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

TEST_F(ExecuteCmdSendOutput, RunsTheToolEvenWhenTheFlagCannotBeCleared) {
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

TEST_F(ExecuteCmdSendOutput, Returns23ForAnyExitCodeWhenThePeerHasClosed) {
    write_tool(utility, "exit 3\n");
    socket_.peer_closes();
    EXPECT_EQ(execute({"zmsu"}), 23);
    const Lines lines = later_messages();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], (LogLine{information, tag, "child process exited CEC=3 C=" + utility}));
    EXPECT_EQ(lines[1], (LogLine{detail, tag, "recv return value=0 ERRNO=0 (Success)"}));
    EXPECT_EQ(lines[2], (LogLine{error, tag, "Peer socket is closed NSC=0"}));
}

TEST_F(ExecuteCmdSendOutput, Returns23WhenThePeerHasSentMore) {
    write_tool(utility, "exit 0\n");
    socket_.peer_sends("xy");
    EXPECT_EQ(execute({"zmsu"}), 23);
    const Lines lines = later_messages();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], (LogLine{detail, tag, "recv return value=1 ERRNO=0 (Success)"}));
    EXPECT_EQ(lines[2], (LogLine{error, tag, "Peer socket is closed NSC=1"}));
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(ExecuteCmdSendOutput, TreatsAFailingProbeAsAPeerThatWaits) {
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

TEST_F(ExecuteCmdSendOutput, LeavesTheSocketItselfOpenForTheTool) {
    write_tool(utility, "[ -e /proc/$$/fd/$1 ] && echo open || echo closed\n");
    execute({"zmsu", fd()});
    EXPECT_EQ(socket_.received(), "open\n\n");
}

// One standard stream is the socket itself, in a child process.
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

}  // namespace
