// The request and the answer of a connection.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "tests/request_command/answered_command.h"
#include "tests/support/scripted_peer.h"
#include "tests/support/test_files.h"

namespace {

using namespace std::string_literals;

// Larger than the buffers of a connection.
const std::string much_output = [] {
    std::string text;
    while (text.size() < 8'000'000) {
        text += "a line of output, number " + std::to_string(text.size()) + "\n";
    }
    return text;
}();

const Arguments much_to_send = Arguments{"CLEANUP"} + Arguments(600, std::string(2000, 'x'));

class Exchange : public AnsweredCommand {
  protected:
    [[nodiscard]] std::string request_of(const Arguments& request) const {
        Command command = start(request);
        const PeerConnection peer = command.await_connection(listener_);
        std::string bytes = peer.receive_request();
        peer.send("EXIT STATUS 0 done\n");
        peer.stop_sending();
        EXPECT_EQ(peer.receive_to_end(), "");
        EXPECT_EQ(command.finish().exit_status, 0);
        return bytes;
    }
};

TEST_F(Exchange, SendsAWordWithoutArguments) {
    EXPECT_EQ(request_of({"CLEANUP"}), "1:1,7:CLEANUP,");
}

TEST_F(Exchange, SendsTheWordAndItsArguments) {
    EXPECT_EQ(request_of({"GETDISKSPACE", "/tmp"}), "1:2,12:GETDISKSPACE,4:/tmp,");
}

TEST_F(Exchange, SendsArgumentsUnchanged) {
    EXPECT_EQ(request_of({"--", "-x", "--help", "--", "", "a b\n", "\xff,1:"}),
              "1:6,2:-x,6:--help,2:--,0:,4:a b\n,4:\xff,1:,");
}

TEST_F(Exchange, SendsTheLongestTexts) {
    const std::string longest(2047, 'x');
    EXPECT_EQ(request_of({longest, longest}), "1:2,2047:" + longest + ",2047:" + longest + ",");
}

TEST_F(Exchange, KeepsItsSendingSideOpenUntilTheAnswerEnds) {
    Command command = start({"CLEANUP"});
    const PeerConnection peer = command.await_connection(listener_);
    static_cast<void>(peer.receive_request());
    peer.send("one\n");
    command.await_output("one\n");
    EXPECT_TRUE(peer.command_waits());
}

TEST_F(Exchange, PrintsOutputBeforeTheAnswerEnds) {
    Command command = start({"CLEANUP"});
    PeerConnection peer = command.await_connection(listener_);
    static_cast<void>(peer.receive_request());
    peer.send("one\n");
    command.await_output("one\n");
    peer.send("half");
    command.await_output("half");
    peer.send(" a line\nEXIT STATUS 0 done\n");
    peer.close();
    EXPECT_EQ(command.finish().output, "one\nhalf a line\n");
}

TEST_F(Exchange, PrintsTheStatusLineApartFromTheOutput) {
    const CommandRun run = run_with_answer("one\ntwo\nEXIT STATUS 0 done\n");
    EXPECT_EQ(run.output, "one\ntwo\n");
    EXPECT_EQ(run.errors, "EXIT STATUS 0 done\n");
    EXPECT_EQ(run.exit_status, 0);
}

TEST_F(Exchange, PrintsAToolsStatusLineAsOutput) {
    const CommandRun run = run_with_answer("EXIT STATUS 7 a tool's\n\nEXIT STATUS 3 no\n");
    EXPECT_EQ(run.output, "EXIT STATUS 7 a tool's\n\n");
    EXPECT_EQ(run.errors, "EXIT STATUS 3 no\n");
    EXPECT_EQ(run.exit_status, 3);
}

TEST_F(Exchange, FindsTheStatusLineAfterALineWithoutNewline) {
    const CommandRun run = run_with_answer("a cut lineEXIT STATUS 3 no\n");
    EXPECT_EQ(run.output, "a cut line");
    EXPECT_EQ(run.errors, "EXIT STATUS 3 no\n");
    EXPECT_EQ(run.exit_status, 3);
}

TEST_F(Exchange, AddsNoNewlineToACutStatusLine) {
    const std::string line = "EXIT STATUS 3 " + std::string(497, 'x');
    const CommandRun run = run_with_answer("one\n" + line);
    EXPECT_EQ(run.output, "one\n");
    EXPECT_EQ(run.errors, line);
    EXPECT_EQ(run.exit_status, 3);
}

TEST_F(Exchange, PrintsBytesThatAreNotText) {
    const std::string output = "\0\xff\x80\r\0\n"s;
    const std::string status_line = "EXIT STATUS 3 n\0\xff\n"s;
    const CommandRun run = run_with_answer(output + status_line);
    EXPECT_EQ(run.output, output);
    EXPECT_EQ(run.errors, status_line);
}

TEST_F(Exchange, EndsWithTheStatusOrWith252IfItIsNotAnExitStatus) {
    const std::vector<std::pair<std::string, int>> exit_statuses = {
        {"0", 0},
        {"1", 1},
        {"135", 135},
        {"254", 254},
        {"255", 252},
        {"256", 252},
        {"5764", 252},
        {"-1", 252},
        {"2147483647", 252},
        {"-2147483648", 252},
        {"4294967296", 252},
        {"-4294967296", 252},
    };
    for (const auto& [status, exit_status] : exit_statuses) {
        const std::string line = "EXIT STATUS " + status + " text\n";
        const CommandRun run = run_with_answer(line);
        EXPECT_EQ(run.exit_status, exit_status) << status;
        EXPECT_EQ(run.errors, line);
    }
}

TEST_F(Exchange, FailsWithoutAStatusLine) {
    const CommandRun run = run_with_answer("one\nEXIT STATUS unknown\n");
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.output, "one\nEXIT STATUS unknown\n");
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line\n");
}

TEST_F(Exchange, FailsWithoutAnAnswer) {
    const CommandRun run = run_with_answer("");
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line\n");
}

TEST_F(Exchange, ReceivesAnAnswerBeforeThePeerReadsTheRequest) {
    Command command = start(much_to_send);
    PeerConnection peer = command.await_connection(listener_);
    std::string request;
    const std::jthread script([&] {
        peer.send(much_output);
        request = peer.receive_request();
        peer.send("EXIT STATUS 3 no\n");
        peer.close();
    });
    const CommandRun run = command.finish();
    EXPECT_EQ(run.output, much_output);
    EXPECT_EQ(run.exit_status, 3);
}

TEST_F(Exchange, SendsALargeRequestWhole) {
    const std::string request = request_of(Arguments{"CLEANUP"} + Arguments(100'000, "x"));
    EXPECT_EQ(request.size(), std::string("6:100001,7:CLEANUP,").size() + 400'000);
}

TEST_F(Exchange, PrintsTheAnswerOfAPeerThatRejectsTheRequestUnread) {
    Command command = start(much_to_send);
    PeerConnection peer = command.await_connection(listener_);
    peer.send("EXIT STATUS 135 not root\n");
    peer.close();
    const CommandRun run = command.finish();
    EXPECT_EQ(run.errors, "EXIT STATUS 135 not root\n");
    EXPECT_EQ(run.exit_status, 135);
}

TEST_F(Exchange, ReportsWhyARequestThatWasNotReadHasNoAnswer) {
    Command command = start(much_to_send);
    command.await_connection(listener_).close();
    const CommandRun run = command.finish();
    EXPECT_THAT(run.errors, testing::AnyOf("zmlogadm: the answer has no status line: Broken pipe\n",
                                           "zmlogadm: the answer has no status line: Connection reset by peer\n"));
    EXPECT_EQ(run.exit_status, 255);
}

TEST(ExchangeOverTcp, PrintsTheAnswerOfAPeerThatRejectsTheRequestUnread) {
    const PeerListener listener("127.0.0.1");
    Command command(listener.options() + much_to_send);
    PeerConnection peer = command.await_connection(listener);
    peer.send("one\nEXIT STATUS 135 not root\n");
    peer.close();
    const CommandRun run = command.finish();
    EXPECT_EQ(run.output, "one\n");
    EXPECT_EQ(run.errors, "EXIT STATUS 135 not root\n");
    EXPECT_EQ(run.exit_status, 135);
}

TEST(ExchangeOverTcp, AcceptsTheStatusLineBeforeAReset) {
    const PeerListener listener("127.0.0.1");
    Command command(listener.options() + Arguments{"RUNZMSU"});
    PeerConnection peer = command.await_connection(listener);
    static_cast<void>(peer.receive_request());
    peer.send("one\nEXIT STATUS 3 no\n");
    command.await_output("one\n");
    peer.reset();
    const CommandRun run = command.finish();
    EXPECT_EQ(run.output, "one\n");
    EXPECT_EQ(run.errors, "EXIT STATUS 3 no\n");
    EXPECT_EQ(run.exit_status, 3);
}

TEST(ExchangeOverTcp, FailsWhenAResetCutsTheStatusLine) {
    const PeerListener listener("127.0.0.1");
    Command command(listener.options() + Arguments{"CLEANUP"});
    PeerConnection peer = command.await_connection(listener);
    static_cast<void>(peer.receive_request());
    peer.send("one\nEXIT STATUS 57");
    command.await_output("one\n");
    peer.reset();
    const CommandRun run = command.finish();
    EXPECT_EQ(run.output, "one\nEXIT STATUS 57");
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line: Connection reset by peer\n");
    EXPECT_EQ(run.exit_status, 255);
}

// Different code writes plain answers and JSON.
class FailingOutput : public AnsweredCommand, public testing::WithParamInterface<Arguments> {
  protected:
    FailingOutput() : AnsweredCommand(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(, FailingOutput, testing::Values(Arguments{}, Arguments{"--json"}),
                         [](const testing::TestParamInfo<Arguments>& options) {
                             return options.param.empty() ? "Text" : "Json";
                         });

TEST_P(FailingOutput, IsReportedWhenNobodyReads) {
    Command command = start({"CLEANUP"});
    PeerConnection peer = command.await_connection(listener_);
    static_cast<void>(peer.receive_request());
    command.close_output();
    peer.send("one\nEXIT STATUS 0 done\n");
    peer.close();
    const CommandRun run = command.finish();
    EXPECT_EQ(run.errors, "zmlogadm: cannot write to standard output: Broken pipe\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_P(FailingOutput, IsReportedWhenThereIsNoRoom) {
    const CommandRun run = run_with_answer("one\nEXIT STATUS 0 done\n", with_output_to("/dev/full"));
    EXPECT_EQ(run.errors, "zmlogadm: cannot write to standard output: No space left on device\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_P(FailingOutput, IsReportedWhenItIsClosed) {
    const CommandRun run = run_with_answer("one\nEXIT STATUS 0 done\n", without_descriptors({1}));
    EXPECT_EQ(run.errors, "zmlogadm: cannot write to standard output: Bad file descriptor\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(Exchange, WritesNoAnswerToThePeerWhenStandardDescriptorsAreMissing) {
    Command command = start({"CLEANUP"}, without_descriptors({0, 1, 2}));
    const PeerConnection peer = command.await_connection(listener_);
    static_cast<void>(peer.receive_request());
    peer.send("one\nEXIT STATUS 0 done\n");
    peer.stop_sending();
    EXPECT_EQ(peer.receive_to_end(), "");
    EXPECT_EQ(command.finish().exit_status, 255);
}

TEST_F(Exchange, WaitsForRoomInANonBlockingOutput) {
    Command command = start({"CLEANUP"}, [] { fcntl(STDOUT_FILENO, F_SETFL, O_WRONLY | O_NONBLOCK); });
    PeerConnection peer = command.await_connection(listener_);
    const std::jthread script([&] {
        static_cast<void>(peer.receive_request());
        peer.send(much_output + "EXIT STATUS 0 done\n");
        peer.close();
    });
    const CommandRun run = command.finish();
    EXPECT_EQ(run.output, much_output);
    EXPECT_EQ(run.exit_status, 0);
}

}  // namespace
