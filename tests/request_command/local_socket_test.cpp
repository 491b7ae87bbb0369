// Connections to a Unix-domain socket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/request_command/command_run.h"
#include "tests/support/scripted_peer.h"
#include "tests/support/test_files.h"

namespace {

std::string failure_to_connect(const Arguments& options) {
    const CommandRun run = run_command(options + Arguments{"RUNZMSU"});
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.output, "");
    return run.errors;
}

class LocalSocketPeer : public testing::Test {
  protected:
    ScratchFolder folder_;
};

TEST_F(LocalSocketPeer, IsReachedByTheLongestPath) {
    const std::string path = folder_.path(std::string(107 - folder_.path("").size() - 1, 'x'));
    ASSERT_EQ(path.size(), 107U);
    const PeerListener listener = PeerListener::at_path(path);
    Command command({"--socket", path, "RUNZMSU"});
    PeerConnection peer = command.await_connection(listener);
    EXPECT_EQ(peer.receive_request(), "1:1,7:RUNZMSU,");
    peer.send("EXIT STATUS 5 no\n");
    peer.close();
    EXPECT_EQ(command.finish().exit_status, 5);
}

TEST_F(LocalSocketPeer, IsReportedWhenItsSocketIsMissing) {
    EXPECT_EQ(failure_to_connect({"-S", "/tmp/nothing"}),
              "zmlogadm: cannot connect to /tmp/nothing: No such file or directory\n");
}

TEST_F(LocalSocketPeer, IsReportedWhenItDoesNotListen) {
    const std::string path = folder_.path("socket");
    static_cast<void>(PeerListener::at_path(path));
    EXPECT_EQ(failure_to_connect({"-S", path}), "zmlogadm: cannot connect to " + path + ": Connection refused\n");
}

TEST_F(LocalSocketPeer, FailsAfterTheTimeOut) {
    PeerListener listener = PeerListener::at_path(folder_.path("socket"));
    listener.hang();
    EXPECT_EQ(failure_to_connect(listener.options() + Arguments{"-t", "1"}),
              "zmlogadm: cannot connect to " + folder_.path("socket") + ": Connection timed out\n");
}

}  // namespace
