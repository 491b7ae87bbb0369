// The command's parts when their system calls fail or are interrupted.
#include "tests/support/failing_calls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <vector>

#include "platform/standard_streams.h"
#include "request_command/child.h"
#include "request_command/connection.h"
#include "request_command/exchange.h"
#include "request_command/failure.h"
#include "tests/request_command/system_calls.h"
#include "tests/support/connected_sockets.h"
#include "tests/support/scripted_peer.h"
#include "tests/support/test_files.h"

using failing_calls::failures;

namespace {

// Every failure that a test plans happens.
class FailingCallTest : public testing::Test {
  protected:
    FailingCallTest() { system_calls::reset(); }
    ~FailingCallTest() override { EXPECT_EQ(system_calls::reset(), ""); }
};

Connection connect(const Peer& peer) {
    return connect_to(peer, std::chrono::seconds(30), nullptr);
}

// Returns the reason of a failed connection.
std::string failure_to_connect(const Peer& peer) {
    try {
        static_cast<void>(connect(peer));
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "connected";
}

class ConnectingToHost : public FailingCallTest {
  protected:
    [[nodiscard]] std::string failure() const { return failure_to_connect(host_); }

    void expect_connected() const {
        const Connection connection = connect(host_);
        EXPECT_TRUE(connection.socket.valid());
        EXPECT_TRUE(listener_.has_connection());
    }

    PeerListener listener_ = PeerListener("127.0.0.1");
    RemoteHost host_ = {.name = "127.0.0.1", .port = static_cast<std::uint16_t>(listener_.port())};
    std::string no_connection_ = "cannot connect to 127.0.0.1 port " + std::to_string(host_.port) + ": 127.0.0.1: ";
};

TEST_F(ConnectingToHost, ReportsTheErrorOfALookUp) {
    failures["pipe2"] = {EMFILE};
    host_.name = "localhost";
    EXPECT_EQ(failure(), "cannot look up localhost: Too many open files");
}

// An address that needs less time leaves the rest to the others.
TEST_F(ConnectingToHost, GivesEachAddressAnEqualShareOfTheTimeThatIsLeft) {
    write_file("/etc/hosts", "127.0.0.7 elsewhere\n127.0.0.8 elsewhere\n127.0.0.9 elsewhere\n");
    host_.name = "elsewhere";
    system_calls::stopped_clock = std::chrono::hours(1);
    system_calls::connects_hang = true;
    EXPECT_THAT(failure(), testing::EndsWith(": Connection timed out"));
    EXPECT_THAT(system_calls::waits, testing::ElementsAre(10000, 15000, 30000));
}

TEST_F(ConnectingToHost, NoticesAHostThatGoesDown) {
    const Connection connection = connect(host_);
    int on = 0;
    socklen_t size = sizeof on;
    ASSERT_EQ(getsockopt(connection.socket.get(), SOL_SOCKET, SO_KEEPALIVE, &on, &size), 0);
    EXPECT_EQ(on, 1);
}

// Nobody must be able to guess the port, and several commands must not try the same ports in the same order. The odds
// that all these ports lie within a sixteenth of the range are one in 10^17.
TEST_F(ConnectingToHost, BeginsWithARandomPort) {
    std::vector<int> ports;
    for (int i = 0; i != 16; ++i) {
        const Connection connection = connect(host_);
        ports.push_back(listener_.accept().source_port());
    }
    const auto [lowest, highest] = std::minmax_element(ports.begin(), ports.end());
    EXPECT_GT(*highest - *lowest, 32);
}

TEST_F(ConnectingToHost, FailsWithoutASocket) {
    failures["socket"] = {EMFILE};
    EXPECT_EQ(failure(), no_connection_ + "cannot make a socket: Too many open files");
}

TEST_F(ConnectingToHost, FailsWhenTheConnectionCannotBeWaitedFor) {
    failures["poll"] = {ENOMEM};
    EXPECT_EQ(failure(), no_connection_ + "Cannot allocate memory");
}

TEST_F(ConnectingToHost, FailsWhenTheOutcomeIsUnknown) {
    failures["getsockopt"] = {ENOBUFS};
    EXPECT_EQ(failure(), no_connection_ + "No buffer space available");
}

TEST_F(ConnectingToHost, ContinuesAfterInterruptions) {
    failures["connect"] = {EINTR};
    failures["poll"] = {EINTR, EINTR};
    expect_connected();
}

TEST_F(ConnectingToHost, DoesNotWaitForAnImmediateConnection) {
    system_calls::connects_wait = true;
    expect_connected();
}

// A port may still belong to an earlier connection to the peer.
TEST_F(ConnectingToHost, TriesAnotherPortAfterOneThatIsInUse) {
    failures["connect"] = {EADDRNOTAVAIL, EADDRINUSE};
    expect_connected();
}

// The exchange finds out whether such a peer has answered.
TEST_F(ConnectingToHost, LeavesAPeerThatHasClosedToTheExchange) {
    failures["getpeername"] = {ENOTCONN};
    expect_connected();
}

TEST_F(ConnectingToHost, SucceedsWithoutTheNameOfItsOwnEnd) {
    failures["getsockname"] = {ENOBUFS};
    expect_connected();
}

class ConnectingToSocket : public FailingCallTest {
  protected:
    ScratchFolder folder_;
    PeerListener listener_ = PeerListener::at_path(folder_.path("socket"));
    LocalSocket peer_ = {.path = folder_.path("socket")};
};

TEST_F(ConnectingToSocket, FailsWithoutASocket) {
    failures["socket"] = {ENFILE};
    EXPECT_EQ(failure_to_connect(peer_), "cannot make a socket: Too many open files in system");
}

TEST_F(ConnectingToSocket, FailsWhenItsTimeCannotBeBounded) {
    failures["setsockopt"] = {ENOMEM};
    EXPECT_EQ(failure_to_connect(peer_), "cannot limit the time for connecting: Cannot allocate memory");
    EXPECT_FALSE(listener_.has_connection());
}

TEST_F(ConnectingToSocket, StartsAgainAfterInterruptions) {
    failures["connect"] = {EINTR, EINTR};
    EXPECT_TRUE(connect(peer_).socket.valid());
    EXPECT_TRUE(listener_.has_connection());
}

class StartingAgent : public FailingCallTest {
  protected:
    StartingAgent() { write_tool(agent_.path, "exit 7\n"); }

    ScratchFolder folder_;
    AgentFile agent_ = {.path = folder_.path("agent")};
};

TEST_F(StartingAgent, FailsWithoutAConnection) {
    failures["socketpair"] = {EMFILE};
    EXPECT_EQ(failure_to_connect(agent_), "cannot make a socket pair: Too many open files");
}

TEST_F(StartingAgent, FailsWhenItCannotBePrepared) {
    failures["posix_spawn_file_actions_adddup2"] = {ENOMEM};
    EXPECT_EQ(failure_to_connect(agent_), "cannot prepare the start of the agent: Cannot allocate memory");
}

TEST_F(StartingAgent, WaitsForTheEndAfterInterruptions) {
    Connection connection = connect(agent_);
    failures["waitpid"] = {EINTR, EINTR};
    EXPECT_EQ(describe_end(connection.agent.wait()), "ended with exit status 7");
    EXPECT_FALSE(connection.agent.valid());
}

TEST_F(StartingAgent, EndsWhenTheAgentCannotBeWaitedFor) {
    Connection connection = connect(agent_);
    failures["waitpid"] = {ECHILD};
    EXPECT_EQ(connection.agent.wait(), 0);
    EXPECT_FALSE(connection.agent.valid());
}

// The peer answers and closes before the command sends the request.
class FailingExchange : public FailingCallTest {
  protected:
    FailingExchange() {
        const std::string answer = "one\nEXIT STATUS 0 done\n";
        EXPECT_TRUE(write_all(ends_.peer_end.get(), answer));
        shutdown(ends_.peer_end.get(), SHUT_WR);
    }

    int run() { return exchange(ends_.agent_end.get(), "1:1,7:CLEANUP,", splitter_, nullptr); }

    std::string output_;
    AnswerSplitter splitter_ = AnswerSplitter([this](std::string_view bytes) { output_ += bytes; });
    ConnectedSockets ends_ = connect_locally();
};

TEST_F(FailingExchange, ContinuesAfterInterruptionsAndEmptyReads) {
    failures["poll"] = {EINTR, EINTR};
    failures["send"] = {EINTR, EAGAIN};
    failures["recv"] = {EINTR, EAGAIN};
    EXPECT_EQ(run(), 0);
    const auto line = splitter_.finish(AnswerEnd::complete);
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ(line->text, "EXIT STATUS 0 done\n");
    EXPECT_EQ(output_, "one\n");
    std::array<char, 32> request{};
    EXPECT_EQ(recv(ends_.peer_end.get(), request.data(), request.size(), MSG_DONTWAIT), 14);
    EXPECT_STREQ(request.data(), "1:1,7:CLEANUP,");
}

TEST_F(FailingExchange, EndsWhenItCannotWait) {
    failures["poll"] = {EINTR, ENOMEM};
    try {
        run();
        ADD_FAILURE() << "waited";
    } catch (const Failure& failure) {
        EXPECT_STREQ(failure.what(), "cannot wait for the answer: Cannot allocate memory");
    }
}

TEST_F(FailingExchange, ReportsTheErrorOfTheConnection) {
    failures["recv"] = {ETIMEDOUT};
    EXPECT_EQ(run(), ETIMEDOUT);
}

class StandardStreams : public FailingCallTest {};

TEST_F(StandardStreams, FailTheCommandWhenTheyCannotBeOpened) {
    failures["fcntl"] = {EBADF};
    failures["open"] = {EMFILE};
    try {
        occupy_standard_descriptors();
        ADD_FAILURE() << "continued";
    } catch (const std::system_error& failure) {
        EXPECT_STREQ(failure.what(), "cannot open /dev/null: Too many open files");
    }
}

TEST_F(StandardStreams, AreWrittenToAfterInterruptions) {
    const ConnectedSockets ends = connect_locally();
    failures["write"] = {EINTR, EINTR};
    EXPECT_TRUE(write_to_stream(ends.agent_end.get(), "text"));
    std::array<char, 32> text{};
    EXPECT_EQ(recv(ends.peer_end.get(), text.data(), text.size(), MSG_DONTWAIT), 4);
    EXPECT_STREQ(text.data(), "text");
}

}  // namespace
