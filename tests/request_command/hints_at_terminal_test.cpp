// The hints that a user at a terminal sees.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/request_command/answered_command.h"
#include "tests/request_command/json_lines.h"
#include "tests/request_command/terminal.h"

namespace {

using testing::EndsWith;
using testing::MatchesRegex;

class HintAtATerminal : public AnsweredCommand {
  protected:
    [[nodiscard]] Preparation with_errors_to_terminal() const {
        return [this] { dup2(terminal_.get(), STDERR_FILENO); };
    }

    // Returns what the terminal got from a command that cannot connect.
    [[nodiscard]] std::string seen_with(const Arguments& options) {
        EXPECT_EQ(run_command(options + Arguments{"CLEANUP"}, with_errors_to_terminal()).exit_status, 255);
        return terminal_.await_end();
    }

    Terminal terminal_ = Terminal(200);
};

TEST_F(HintAtATerminal, IsPrintedBetweenTheStatusAndWhatFailed) {
    const CommandRun run = run_with_answer("PROCESS=ZMKTUL:1 STATUS=1 MSG=no\nEXIT STATUS 5772 no\n",
                                           with_errors_to_terminal(), {"ENABLELOGGING", "ZMKTUL:1"});
    EXPECT_THAT(terminal_.await_end(), MatchesRegex("EXIT STATUS 5772 no\nzmlogadm: a store .*cat "
                                                    "/usr/kumel/ktul/51216.conf\n"
                                                    "zmlogadm: 1 of 1 item failed: ZMKTUL:1; 0 things not answered\n"));
}

TEST_F(HintAtATerminal, IsPrintedBesideJsonToo) {
    options_ = {"--json"};
    const CommandRun run = run_with_answer("EXIT STATUS 5762 no\n", with_errors_to_terminal());
    EXPECT_THAT(terminal_.await_end(), MatchesRegex("zmlogadm: qr.conf does not list this host; .*\n"));
    EXPECT_EQ(answer_lines(run.output).size(), 1U);
}

TEST_F(HintAtATerminal, FollowsTheReasonOfAFailure) {
    const CommandRun run = run_with_answer("one\n", with_errors_to_terminal());
    EXPECT_THAT(terminal_.await_end(), MatchesRegex("zmlogadm: the answer has no status line\n"
                                                    "zmlogadm: the agent may have logged the reason; .*\n"));
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(HintAtATerminal, FollowsARefusedConnection) {
    const int unused_port = PeerListener("127.0.0.1").port();
    EXPECT_THAT(seen_with({"-H", "127.0.0.1", "-p", std::to_string(unused_port)}),
                MatchesRegex("zmlogadm: cannot connect .*\nzmlogadm: nothing listens there; on 127.0.0.1: .*\n"));
}

TEST_F(HintAtATerminal, FollowsAConnectionThatOnlyOneAddressRefused) {
    write_file("/etc/hosts", "::1 elsewhere\n127.0.0.1 elsewhere\n");
    write_file("/etc/nsswitch.conf", "hosts: files\n");
    PeerListener hanging("::1");
    hanging.hang();
    EXPECT_THAT(seen_with({"--no-progress", "-t", "2", "-H", "elsewhere", "-p", std::to_string(hanging.port())}),
                EndsWith("zmlogadm: nothing listens there; on elsewhere: sudo systemctl enable --now "
                         "zmlogadmagent-tcp.socket\n"));
}

TEST_F(HintAtATerminal, FollowsAMissingSocket) {
    EXPECT_EQ(seen_with({"-S", "/none"}),
              "zmlogadm: cannot connect to /none: No such file or directory\n"
              "zmlogadm: nothing listens there; run: sudo systemctl enable --now zmlogadmagent.socket\n");
}

TEST_F(HintAtATerminal, IsNotPrintedElsewhere) {
    EXPECT_EQ(run_with_answer("EXIT STATUS 5762 no\n").errors, "EXIT STATUS 5762 no\n");
    EXPECT_EQ(run_with_answer("").errors, "zmlogadm: the answer has no status line\n");
}

}  // namespace
