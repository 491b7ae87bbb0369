// The line that a user at a terminal sees during a long answer.
#include "request_command/waiting_line.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "request_command/console.h"
#include "tests/request_command/answered_command.h"
#include "tests/request_command/json_lines.h"
#include "tests/request_command/terminal.h"

namespace {

using namespace std::chrono_literals;
using testing::ContainsRegex;
using testing::EndsWith;

class WaitingLineTest : public testing::Test {
  protected:
    [[nodiscard]] WaitingLine line_for(const std::string& peer) {
        return {peer,
                {.write = [this](std::string_view text) { written_ += text; }, .width = [this] { return width_; }},
                start_};
    }

    // Returns what was written since the last call.
    std::string written() { return std::exchange(written_, {}); }

    WaitingLine::Time start_ = Clock::now();
    std::size_t width_ = 80;
    std::string written_;
};

TEST_F(WaitingLineTest, AppearsWhenNothingHasComeForTwoSeconds) {
    WaitingLine line = line_for("backup7");
    EXPECT_EQ(line.due(), start_ + 2s);
    line.show(start_ + 1999ms);
    EXPECT_EQ(written(), "");
    line.show(start_ + 2s);
    EXPECT_EQ(written(), "\rzmlogadm: waiting for backup7, 2 s, 0 lines, 0 bytes so far");
}

TEST_F(WaitingLineTest, IsRewrittenInPlaceEachSecond) {
    WaitingLine line = line_for("b");
    line.show(start_ + 59s);
    EXPECT_EQ(written(), "\rzmlogadm: waiting for b, 59 s, 0 lines, 0 bytes so far");
    EXPECT_EQ(line.due(), start_ + 60s);
    line.show(start_ + 59500ms);
    EXPECT_EQ(written(), "");
    line.show(start_ + 61s);
    EXPECT_EQ(written(), "\rzmlogadm: waiting for b, 1 min 1 s, 0 lines, 0 bytes so far");
}

TEST_F(WaitingLineTest, ErasesALongerLineBefore) {
    WaitingLine line = line_for("b");
    line.show(start_ + 10s);
    written();
    width_ = 30;
    line.show(start_ + 11s);
    EXPECT_EQ(written(), "\rzmlogadm: waiting for b, 11 s" + std::string(25, ' ') + std::string(25, '\b'));
}

TEST_F(WaitingLineTest, IsErasedWhenOutputArrivesAndCountsIt) {
    WaitingLine line = line_for("b");
    line.show(start_ + 3s);
    const std::size_t length = written().size() - 1;
    line.count("one\ntwo", start_ + 4s);
    EXPECT_EQ(written(), "\r" + std::string(length, ' ') + "\r");
    EXPECT_EQ(line.due(), start_ + 6s);
    line.show(start_ + 6s);
    EXPECT_EQ(written(), "\rzmlogadm: waiting for b, 6 s, 1 line, 7 bytes so far");
}

TEST_F(WaitingLineTest, IsErasedOnce) {
    WaitingLine line = line_for("b");
    line.wipe();
    EXPECT_EQ(written(), "");
    line.show(start_ + 3s);
    line.wipe();
    written();
    line.wipe();
    EXPECT_EQ(written(), "");
}

TEST_F(WaitingLineTest, DoesNotAppearWithinALine) {
    WaitingLine line = line_for("b");
    line.set_at_line_start(false);
    line.show(start_ + 3s);
    EXPECT_EQ(written(), "");
    EXPECT_EQ(line.due(), start_ + 4s);
    line.set_at_line_start(true);
    line.show(start_ + 4s);
    EXPECT_NE(written(), "");
}

TEST_F(WaitingLineTest, ShowsNoControlCharacters) {
    WaitingLine line = line_for("\x1b[2J\n");
    line.show(start_ + 3s);
    EXPECT_EQ(written(), "\rzmlogadm: waiting for \\x1b[2J\\x0a, 3 s, 0 lines, 0 bytes so far");
}

TEST_F(WaitingLineTest, IsNeverAsWideAsTheTerminal) {
    WaitingLine line = line_for(std::string(200, 'n'));
    line.show(start_ + 3s);
    EXPECT_EQ(written(), "\rzmlogadm: waiting for " + std::string(27, 'n') + ", 3 s, 0 lines, 0 bytes so far");
    for (width_ = 0; width_ != 80; ++width_) {
        WaitingLine narrow = line_for("\xe2\x82\xac\xe2\x82\xac\xe2\x82\xac");
        narrow.show(start_ + 3s);
        EXPECT_LT(written().size(), std::max<std::size_t>(width_, 2) + 1) << width_;
    }
}

// A console with both streams on one terminal.
class ConsoleAtATerminal : public testing::Test {
  protected:
    Terminal terminal_ = Terminal(80);
    Console console_ = Console(terminal_.get(), terminal_.get());
    WaitingLine::Time start_ = Clock::now();
};

TEST_F(ConsoleAtATerminal, ErasesTheLineBeforeOutput) {
    WaitingLine* const line = console_.wait_for("b", Waiting::shown, start_);
    ASSERT_NE(line, nullptr);
    const std::string shown = "\rzmlogadm: waiting for b, 9 s, 0 lines, 0 bytes so far";
    const std::string wiped = "\r" + std::string(shown.size() - 1, ' ') + "\r";
    line->show(start_ + 9s);
    console_.write_output("one\n");
    line->show(start_ + 19s);
    console_.write_error("two\n");
    EXPECT_EQ(terminal_.await("two\n"), shown + wiped + "one\n" +
                                            "\rzmlogadm: waiting for b, 19 s, 0 lines, 0 bytes so far" + "\r" +
                                            std::string(shown.size(), ' ') + "\r" + "two\n");
}

TEST_F(ConsoleAtATerminal, ShowsNoLineAfterHalfALineOfOutput) {
    WaitingLine* const line = console_.wait_for("b", Waiting::shown, start_);
    console_.write_output("half");
    line->show(start_ + 9s);
    console_.write_output(" a line\n");
    EXPECT_EQ(terminal_.await("\n"), "half a line\n");
    line->show(start_ + 19s);
    EXPECT_THAT(terminal_.await("so far"), ContainsRegex("waiting"));
}

TEST_F(ConsoleAtATerminal, ShowsNoLineWhenItIsSilent) {
    EXPECT_EQ(console_.wait_for("b", Waiting::silent, start_), nullptr);
}

TEST_F(ConsoleAtATerminal, EndsACutLineBeforeAHint) {
    console_.write_error("EXIT STATUS 5 cut");
    console_.write_hint("do this");
    console_.write_hint("");
    EXPECT_EQ(terminal_.await("this\n"), "EXIT STATUS 5 cut\nzmlogadm: do this\n");
}

TEST(ConsoleWithoutATerminal, ShowsNeitherLineNorHint) {
    const ScratchFolder folder;
    write_file(folder.path("errors"), "");
    const Descriptor errors(open(folder.path("errors").c_str(), O_WRONLY | O_CLOEXEC));
    const Terminal terminal(80);
    Console console(terminal.get(), errors.get());
    EXPECT_EQ(console.wait_for("b", Waiting::shown, Clock::now()), nullptr);
    console.write_hint("do this");
    EXPECT_EQ(read_file(folder.path("errors")), "");
}

class CommandAtATerminal : public AnsweredCommand {
  protected:
    [[nodiscard]] Preparation with_errors_to_terminal() const {
        return [this] { dup2(terminal_.get(), STDERR_FILENO); };
    }

    Terminal terminal_ = Terminal(200);
};

TEST_F(CommandAtATerminal, ShowsThatItWaitsUntilTheAnswerComes) {
    Command command = start({"ZMLA"}, with_errors_to_terminal());
    PeerConnection peer = command.await_connection(listener_);
    static_cast<void>(peer.receive_request());
    EXPECT_EQ(terminal_.await("so far"),
              "\rzmlogadm: waiting for " + folder_.path("socket") + ", 2 s, 0 lines, 0 bytes so far");
    peer.send("one\nEXIT STATUS 0 done\n");
    peer.close();
    EXPECT_EQ(command.finish().output, "one\n");
    EXPECT_THAT(terminal_.await_end(), EndsWith(" \rEXIT STATUS 0 done\n"));
}

TEST_F(CommandAtATerminal, ShowsThatItWaitsForTheAgentOfThisHost) {
    const std::string end = folder_.path("end");
    ASSERT_EQ(mkfifo(end.c_str(), 0600), 0);
    write_tool(folder_.path("agent"), "head -c 11 >/dev/null\nread line < " + end + "\necho EXIT STATUS 0 done >&0\n");
    Command command({"--agent", folder_.path("agent"), "ZMLA"}, with_errors_to_terminal());
    EXPECT_THAT(terminal_.await("so far"), testing::HasSubstr("waiting for the agent of this host, "));
    write_file(end, "\n");
    EXPECT_EQ(command.finish().exit_status, 0);
}

TEST_F(CommandAtATerminal, ReportsTheTimeThatItWaited) {
    Command command = start({"--json", "ZMLA"}, with_errors_to_terminal());
    PeerConnection peer = command.await_connection(listener_);
    static_cast<void>(peer.receive_request());
    terminal_.await("so far");
    peer.send("EXIT STATUS 0 done\n");
    peer.close();
    const Json status = json_lines(command.finish().output).back();
    EXPECT_GE(status.at("elapsed_ms"), 2000);
}

// The other command began later, so the silent one has waited for longer.
TEST_F(CommandAtATerminal, ShowsNothingWithoutProgress) {
    const auto answer = [](PeerConnection peer) {
        peer.send("EXIT STATUS 0 done\n");
        peer.close();
    };
    Terminal other_terminal(200);
    Command silent = start({"--no-progress", "ZMLA"}, with_errors_to_terminal());
    PeerConnection silent_peer = silent.await_connection(listener_);
    Command other = start({"ZMLA"}, [&] { dup2(other_terminal.get(), STDERR_FILENO); });
    PeerConnection other_peer = other.await_connection(listener_);
    static_cast<void>(silent_peer.receive_request());
    static_cast<void>(other_peer.receive_request());
    other_terminal.await("so far");
    answer(std::move(silent_peer));
    answer(std::move(other_peer));
    EXPECT_EQ(silent.finish().exit_status, 0);
    EXPECT_EQ(other.finish().exit_status, 0);
    EXPECT_EQ(terminal_.await_end(), "EXIT STATUS 0 done\n");
}

}  // namespace
