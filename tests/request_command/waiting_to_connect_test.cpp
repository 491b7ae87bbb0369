// The line that a user at a terminal sees while the command looks a host up or connects to it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/request_command/command_run.h"
#include "tests/request_command/silent_name_server.h"
#include "tests/request_command/terminal.h"
#include "tests/support/scripted_peer.h"
#include "tests/support/test_files.h"

namespace {

using testing::MatchesRegex;

class WaitingToConnect : public testing::Test {
  protected:
    // Runs the command until it gives up. Returns what the terminal got.
    [[nodiscard]] std::string seen_with(const Arguments& options) {
        const CommandRun run =
            run_command(options + Arguments{"-t", "4", "CLEANUP"}, [this] { dup2(terminal_.get(), STDERR_FILENO); });
        EXPECT_EQ(run.exit_status, 255);
        return terminal_.await_end();
    }

    // The line, which is wiped before the reason of the failure.
    static auto line_before(const std::string& peer, const std::string& reason) {
        return MatchesRegex("\rzmlogadm: waiting for " + peer +
                            ", [23] s, 0 lines, 0 bytes so far(\r.*)?\r *\rzmlogadm: " + reason + "\n");
    }

    Terminal terminal_ = Terminal(200);
};

TEST_F(WaitingToConnect, IsShownForAHostThatDoesNotAnswer) {
    PeerListener listener("127.0.0.1");
    listener.hang();
    EXPECT_THAT(seen_with(listener.options()),
                line_before("127.0.0.1", "cannot connect to 127.0.0.1 port .*: Connection timed out"));
}

TEST_F(WaitingToConnect, IsShownForASocketThatDoesNotAnswer) {
    const ScratchFolder folder;
    PeerListener listener = PeerListener::at_path(folder.path("socket"));
    listener.hang();
    EXPECT_THAT(seen_with(listener.options()),
                line_before(folder.path("socket"), "cannot connect to .*: Connection timed out"));
}

TEST_F(WaitingToConnect, IsShownForANameServerThatDoesNotAnswer) {
    const Descriptor name_server = start_silent_name_server();
    EXPECT_THAT(seen_with({"-H", "elsewhere.example.test"}),
                line_before("elsewhere.example.test", "cannot look up elsewhere.example.test: no answer within 4 s"));
}

}  // namespace
