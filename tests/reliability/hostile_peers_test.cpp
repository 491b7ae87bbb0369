// Many hostile peers at once: silent ones, slow ones, deaf ones, and those that close within a request.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <string>

#include "tests/reliability/load_share.h"
#include "tests/reliability/network_service.h"
#include "tests/reliability/peers.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

constexpr int request_not_received = 5763;
constexpr int peer_not_root = 135;
// Exit statuses of agents.
constexpr int served = 0;
constexpr int peer_closed = 23;
constexpr int output_not_sent = 5796 & 0xff;
constexpr int ended_early = 252;
constexpr int good_peers = 20;

const std::string good_request = netstrings({"GETDISKSPACE", "/tmp"});

class HostilePeers : public ProductTest {
  protected:
    HostilePeers() {
        serve_good_peers(1);
        service_.await_end_of_agents();
        before_ = service_.state();
    }

    // An agent has read the time-out when it has verified its peer.
    static void set_time_out(int seconds) {
        write_file(main_configuration, "SERVER = localhost\nNETWORK_TIMEOUT = " + std::to_string(seconds) + "\n");
    }

    Peers connect(int count) {
        Peers peers;
        for (int i = 0; i < count; ++i) {
            peers.emplace_back(service_.connect_as_root());
        }
        return peers;
    }

    static void send(const Peers& peers, const std::string& bytes) {
        for (const Peer& peer : peers) {
            peer.send(bytes);
        }
    }

    void serve_good_peers(int count = good_peers) {
        Peers peers = connect(count);
        send(peers, good_request);
        receive_all(peers);
        EXPECT_EQ(count_with_status(peers, served), count);
        good_ += count;
    }

    // Waits until the agents of that many hostile peers have verified them.
    void await_verified(int count) const { await_in_debug_log("verified credentials of peer", good_ + count); }

    // Expects that the service still serves, that no process or descriptor is left, and that the agents of good peers
    // have ended with 0 and the others with the status.
    void expect_nothing_left(int status) {
        serve_good_peers(1);
        service_.await_end_of_agents();
        EXPECT_EQ(service_.state(), before_);
        EXPECT_EQ(service_.statuses_of_agents(), (std::set<int>{served, status}));
    }

    // Expects that each peer was sent the status of a time-out.
    void expect_timed_out(const Peers& peers) {
        const int count = static_cast<int>(peers.size());
        EXPECT_EQ(count_with_status(peers, request_not_received), count);
        EXPECT_EQ(count_in_debug_log("failure receiving #args E=110 (Connection timed out)"), count);
        expect_nothing_left(ended_early);
    }

    NetworkService service_;
    ServiceState before_;
    int good_ = 0;
};

TEST_F(HostilePeers, ThatAreSilentTimeOut) {
    constexpr int count = 200;
    set_time_out(1);
    Peers silent = connect(count);
    await_verified(count);
    set_time_out(300);
    serve_good_peers();
    receive_all(silent);
    expect_timed_out(silent);
    print_figure("silent peers: timed out", count_with_status(silent, request_not_received));
}

TEST_F(HostilePeers, ThatStaySilentDoNotBlockTheService) {
    constexpr int count = 200;
    set_time_out(86400);
    Peers silent = connect(count);
    await_verified(count);
    const ServiceState meanwhile = service_.state();
    EXPECT_EQ(meanwhile.processes, before_.processes + count);
    EXPECT_EQ(meanwhile.descriptors_of_service, before_.descriptors_of_service);
    serve_good_peers();
    EXPECT_TRUE(std::none_of(silent.begin(), silent.end(), [](const Peer& peer) { return peer.has_answer(); }));
    print_figure("silent peers: agents that wait while good peers are served", meanwhile.processes - before_.processes);
    silent.clear();
    expect_nothing_left(ended_early);
}

TEST_F(HostilePeers, ThatAreNotRootAreRejectedWithoutARequest) {
    constexpr int count = 200;
    set_time_out(86400);
    Peers users;
    for (int i = 0; i < count; ++i) {
        users.emplace_back(service_.connect_as_anybody());
    }
    serve_good_peers();
    receive_all(users);
    EXPECT_EQ(count_with_status(users, peer_not_root), count);
    expect_nothing_left(peer_not_root);
}

// If each piece that arrives started a new time-out, the agent would wait for their last byte.
TEST_F(HostilePeers, ThatSendSlowlyTimeOutAfterTheTimeForOneValue) {
    constexpr int count = 50;
    const std::string value = netstring(std::string(100, '1'));
    set_time_out(1);
    Peers slow = connect(count);
    await_verified(count);
    set_time_out(300);
    serve_good_peers();
    const std::size_t sent = receive_and_drip(slow, value, std::chrono::milliseconds(100));
    EXPECT_LT(sent, value.size());
    expect_timed_out(slow);
    print_figure("slow peers: timed out", count_with_status(slow, request_not_received));
}

// A report may be long, so the agent and its tool wait for a slow reader without a time-out. No other peer waits.
TEST_F(HostilePeers, ThatNeverReadTheOutputOfAToolBlockOnlyTheirOwnAgents) {
    constexpr int count = 16;
    install_tool(versioninfo_tool, {stand_in::run("exec yes")});
    Peers deaf = connect(count);
    send(deaf, netstrings({"versioninfo"}));
    await_answers(deaf);
    serve_good_peers();
    service_.await_end_of_all_but(count);
    EXPECT_EQ(service_.state().processes, before_.processes + 2 * count);
    deaf.clear();
    expect_nothing_left(peer_closed);
    print_figure("deaf peers of a tool: their agents that wait while good peers are served", count);
}

// The answer is larger than the buffers of a connection, so the agent itself waits.
TEST_F(HostilePeers, ThatNeverReadTheAnswerBlockOnlyTheirOwnAgents) {
    constexpr int count = 2;
    std::string values = "VMCONF:";
    for (int i = 0; i < 5; ++i) {
        values += std::string(400, 'x') + ",";
    }
    Request request(5000, values);
    request.front() = "ENABLELOGGING";
    Peers deaf = connect(count);
    send(deaf, netstrings(request));
    await_answers(deaf);
    serve_good_peers();
    service_.await_end_of_all_but(count);
    EXPECT_EQ(service_.state().processes, before_.processes + count);
    deaf.clear();
    expect_nothing_left(output_not_sent);
    print_figure("deaf peers of the agent: agents that wait while good peers are served", count);
}

// Only the whole request changes the file.
const std::string change = netstrings({"ENABLELOGGING", "QRCONF:JOBD_VERBOSE=5"});
const std::string configuration_before = "SERVER = localhost\nNETWORK_TIMEOUT = 60\n";
const std::string configuration_after = configuration_before + "JOBD_VERBOSE = 5\n";

TEST_F(HostilePeers, ThatCloseWithinARequestChangeNothing) {
    write_file(main_configuration, configuration_before);
    Peers broken = connect(static_cast<int>(change.size()));
    for (std::size_t i = 0; i < broken.size(); ++i) {
        broken[i].send(change.substr(0, i));
        broken[i].close();
    }
    serve_good_peers();
    service_.await_end_of_agents();
    EXPECT_EQ(count_in_debug_log("E=104 "), static_cast<int>(change.size()));
    EXPECT_EQ(count_in_debug_log("failed to receive args SC=5763"), static_cast<int>(change.size()));
    EXPECT_EQ(read_file(main_configuration), configuration_before);
    expect_nothing_left(ended_early);
    print_figure("peers that close after each byte of a request: left without a change",
                 count_in_debug_log("failed to receive args SC=5763"));
}

TEST_F(HostilePeers, ThatResetWithinARequestChangeNothing) {
    write_file(main_configuration, configuration_before);
    Peers broken = connect(static_cast<int>(change.size()));
    await_verified(static_cast<int>(change.size()));
    for (std::size_t i = 0; i < broken.size(); ++i) {
        broken[i].send(change.substr(0, i));
        broken[i].reset();
    }
    serve_good_peers();
    service_.await_end_of_agents();
    EXPECT_EQ(count_in_debug_log("failed to receive args SC=5763"), static_cast<int>(change.size()));
    EXPECT_EQ(read_file(main_configuration), configuration_before);
    expect_nothing_left(ended_early);
}

TEST_F(HostilePeers, ThatCloseAfterTheirRequestAreServed) {
    write_file(main_configuration, configuration_before);
    Peers gone = connect(1);
    gone[0].send(change);
    gone.clear();
    expect_nothing_left(served);
    EXPECT_EQ(read_file(main_configuration), configuration_after);
}

}  // namespace
