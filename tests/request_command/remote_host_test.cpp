// Connections to a peer on another host: addresses, names, time-outs and source ports.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <csignal>
#include <map>
#include <string>
#include <vector>

#include "tests/request_command/command_run.h"
#include "tests/request_command/json_lines.h"
#include "tests/request_command/silent_name_server.h"
#include "tests/support/replaced_file.h"
#include "tests/support/scripted_peer.h"
#include "tests/support/test_files.h"

namespace {

using testing::HasSubstr;

constexpr uid_t ordinary_user = 1000;

// Sets the names that this host knows, and lets it ask no name server.
void set_known_hosts(const std::string& text) {
    write_file("/etc/hosts", text);
    write_file("/etc/nsswitch.conf", "hosts: files\n");
}

// Returns a port of this host that nobody uses.
int free_port() {
    return PeerListener("127.0.0.1").port();
}

void expect_to_be_reached(const PeerListener& listener, const Arguments& options) {
    Command command(options + Arguments{"CLEANUP"});
    PeerConnection peer = command.await_connection(listener);
    EXPECT_EQ(peer.receive_request(), "1:1,7:CLEANUP,");
    peer.send("EXIT STATUS 5 no\n");
    peer.close();
    EXPECT_EQ(command.finish().exit_status, 5);
}

std::string failure_to_connect(const Arguments& options, const Preparation& prepare = nullptr) {
    const CommandRun run = run_command(options + Arguments{"CLEANUP"}, prepare);
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.output, "");
    return run.errors;
}

int source_port_of(const PeerListener& listener, const Preparation& prepare = nullptr) {
    Command command(listener.options() + Arguments{"CLEANUP"}, prepare);
    PeerConnection peer = command.await_connection(listener);
    const int port = peer.source_port();
    static_cast<void>(peer.receive_request());
    peer.send("EXIT STATUS 0 done\n");
    peer.close();
    EXPECT_EQ(command.finish().exit_status, 0);
    return port;
}

// Binds a socket to the port. Returns an invalid descriptor if the port is in use.
Descriptor bind_to(int port) {
    sockaddr_in any{};
    any.sin_family = AF_INET;
    any.sin_port = htons(static_cast<in_port_t>(port));
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return bind(socket.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any) == 0 ? std::move(socket)
                                                                                        : Descriptor();
}

// Occupies all ports that root connects from, except for that many.
class UsedRootPorts {
  public:
    explicit UsedRootPorts(int left) {
        for (int port = 512; port != 1024; ++port) {
            Descriptor socket = bind_to(port);
            if (socket.valid() && left > 0) {
                left_ = port;
                --left;
            } else {
                sockets_.push_back(std::move(socket));
            }
        }
    }

    // The last of the free ports.
    [[nodiscard]] int left() const { return left_; }

  private:
    std::vector<Descriptor> sockets_;
    int left_ = 0;
};

TEST(RemoteHost, IsReachedByAnIpv4Address) {
    const PeerListener listener("127.0.0.1");
    expect_to_be_reached(listener, {"-H", "127.0.0.1", "-p", std::to_string(listener.port())});
}

TEST(RemoteHost, IsReachedByAnIpv6Address) {
    const PeerListener listener("::1");
    expect_to_be_reached(listener, {"-H", "::1", "-p", std::to_string(listener.port())});
}

// Without the interface, the connection fails with "Invalid argument".
TEST(RemoteHost, IsSoughtOnTheInterfaceOfALinkLocalAddress) {
    EXPECT_EQ(failure_to_connect({"-H", "fe80::99%lo"}),
              "zmlogadm: cannot connect to fe80::99%lo port 24761: fe80::99%lo: Network is unreachable\n");
}

TEST(RemoteHost, IsReachedByAName) {
    set_known_hosts("127.0.0.9 elsewhere\n");
    const PeerListener listener("127.0.0.9");
    expect_to_be_reached(listener, {"--host", "elsewhere", "--port", std::to_string(listener.port())});
}

TEST(RemoteHost, IsReachedOnTheDefaultPort) {
    const PeerListener listener("127.0.0.1", 24761);
    expect_to_be_reached(listener, {"-H", "127.0.0.1"});
}

// The command tries the IPv6 address first.
TEST(RemoteHost, IsReachedByItsSecondAddressWhenTheFirstRefusesTheConnection) {
    set_known_hosts("::1 elsewhere\n127.0.0.1 elsewhere\n");
    const PeerListener listener("127.0.0.1");
    expect_to_be_reached(listener, {"-H", "elsewhere", "-p", std::to_string(listener.port())});
}

TEST(RemoteHost, IsReachedByItsSecondAddressWhenTheFirstHangs) {
    set_known_hosts("::1 elsewhere\n127.0.0.1 elsewhere\n");
    const PeerListener listener("127.0.0.1");
    PeerListener hanging("::1", listener.port());
    hanging.hang();
    expect_to_be_reached(listener, {"-t", "2", "-H", "elsewhere", "-p", std::to_string(listener.port())});
}

TEST(RemoteHost, FailsWithTheReasonOfEachAddress) {
    set_known_hosts("::1 elsewhere\n127.0.0.1 elsewhere\n");
    PeerListener hanging("::1");
    hanging.hang();
    const std::string port = std::to_string(hanging.port());
    EXPECT_EQ(failure_to_connect({"-t", "2", "-H", "elsewhere", "-p", port}),
              "zmlogadm: cannot connect to elsewhere port " + port +
                  ": ::1: Connection timed out; 127.0.0.1: Connection refused\n");
}

TEST(RemoteHost, FailsAfterTheTimeOut) {
    PeerListener listener("127.0.0.1");
    listener.hang();
    EXPECT_EQ(failure_to_connect(listener.options() + Arguments{"-t", "1"}),
              "zmlogadm: cannot connect to 127.0.0.1 port " + std::to_string(listener.port()) +
                  ": 127.0.0.1: Connection timed out\n");
}

TEST(RemoteHost, IsReportedWhenItRefusesTheConnection) {
    const std::string port = std::to_string(free_port());
    EXPECT_EQ(failure_to_connect({"-H", "127.0.0.1", "-p", port}),
              "zmlogadm: cannot connect to 127.0.0.1 port " + port + ": 127.0.0.1: Connection refused\n");
}

TEST(RemoteHost, IsReportedWhenItRefusesTheConnectionOfAnOrdinaryUser) {
    const std::string port = std::to_string(free_port());
    EXPECT_EQ(failure_to_connect({"-H", "127.0.0.1", "-p", port}, as_user(ordinary_user)),
              "zmlogadm: cannot connect to 127.0.0.1 port " + port + ": 127.0.0.1: Connection refused\n");
}

TEST(RemoteHost, IsReportedWhenItIsUnknown) {
    set_known_hosts("");
    EXPECT_EQ(failure_to_connect({"-H", "nowhere"}), "zmlogadm: cannot look up nowhere: Name or service not known\n");
}

TEST(RemoteHost, IsNotLookedUpWhenItIsNeitherANameNorAnAddress) {
    for (const std::string text : {"10.5", "0x7f000001", "127.0.0.01", "no where", "::1%lo"}) {
        EXPECT_EQ(failure_to_connect({"-H", text}),
                  "zmlogadm: cannot look up " + text + ": neither a host name nor an address\n");
    }
}

TEST(RemoteHost, IsRejectedWithAPortOrBrackets) {
    for (const std::string text : {"localhost:24761", "127.0.0.1:24761", "[::1]", "[::1]:24761"}) {
        EXPECT_EQ(failure_to_connect({"-H", text}),
                  "zmlogadm: cannot look up " + text +
                      ": neither a host name nor an address; write the host without brackets, and the port with "
                      "--port\n");
    }
}

TEST(RemoteHost, IsFoundInTheNameSourcesOfThisHost) {
    write_file("/etc/nsswitch.conf", "hosts: myhostname\n");
    const PeerListener listener("127.0.0.1");
    expect_to_be_reached(listener, {"-H", "anything.localhost", "-p", std::to_string(listener.port())});
}

TEST(RemoteHost, IsFoundWithoutGetent) {
    set_known_hosts("127.0.0.9 elsewhere\n");
    write_file("/tmp/getent", "");
    const ReplacedFile without_getent(getent_file, "/tmp/getent");
    const PeerListener listener("127.0.0.9");
    expect_to_be_reached(listener, {"-H", "elsewhere", "-p", std::to_string(listener.port())});
}

TEST(RemoteHost, IsFoundAlsoWhenSigchldIsIgnored) {
    set_known_hosts("127.0.0.9 elsewhere\n");
    const std::string port = std::to_string(free_port());
    EXPECT_EQ(failure_to_connect({"-H", "elsewhere", "-p", port}, [] { signal(SIGCHLD, SIG_IGN); }),
              "zmlogadm: cannot connect to elsewhere port " + port + ": 127.0.0.9: Connection refused\n");
}

TEST(RemoteHost, FailsWhenTheLookUpExceedsTheTimeOut) {
    const Descriptor name_server = start_silent_name_server();
    // The time-out works without a signal.
    const auto block_signals = [] {
        sigset_t signals;
        sigfillset(&signals);
        sigprocmask(SIG_BLOCK, &signals, nullptr);
    };
    EXPECT_EQ(failure_to_connect({"-t", "1", "-H", "elsewhere.example.test"}, block_signals),
              "zmlogadm: cannot look up elsewhere.example.test: no answer within 1 s\n");
    const CommandRun run = run_command({"--json", "-t", "1", "-H", "elsewhere.example.test", "CLEANUP"});
    const Json error = json_lines(run.output).at(0);
    EXPECT_EQ(error.at("type"), "error");
    EXPECT_EQ(error.at("code"), "lookup_timed_out");
    EXPECT_EQ(error.at("message"), "cannot look up elsewhere.example.test: no answer within 1 s");
    char byte = 0;
    EXPECT_EQ(recv(name_server.get(), &byte, 1, MSG_DONTWAIT), 1) << "the name server got no query";
}

// Programs read the kind of failure from the code.
TEST(RemoteHost, FailsWithACode) {
    set_known_hosts("::1 elsewhere\n127.0.0.1 elsewhere\n127.0.0.9 other\n127.0.0.8 other\n");
    PeerListener hanging("::1");
    hanging.hang();
    const std::string port = std::to_string(hanging.port());
    const std::map<std::string, std::string> codes = {{"nowhere", "lookup_failed"},
                                                      {"10.5", "lookup_failed"},
                                                      {"other", "connection_refused"},
                                                      {"::1", "connection_timed_out"},
                                                      {"elsewhere", "connection_failed"}};
    for (const auto& [host, code] : codes) {
        const CommandRun run = run_command({"--json", "-t", "1", "-H", host, "-p", port, "CLEANUP"});
        EXPECT_EQ(json_lines(run.output).at(0).at("code"), code) << host;
    }
}

TEST(RemoteHost, SeesRootOnAReservedPort) {
    for (const char* address : {"127.0.0.1", "::1"}) {
        const int port = source_port_of(PeerListener(address));
        EXPECT_GE(port, 512) << address;
        EXPECT_LT(port, 1024) << address;
    }
}

TEST(RemoteHost, SeesAnotherUserOnAnotherPort) {
    EXPECT_GE(source_port_of(PeerListener("127.0.0.1"), as_user(ordinary_user)), 1024);
}

TEST(RemoteHost, SeesRootOnTheOnePortThatIsFree) {
    const UsedRootPorts used(1);
    EXPECT_EQ(source_port_of(PeerListener("127.0.0.1")), used.left());
}

TEST(RemoteHost, IsNotReachedFromAnotherPortWhenThoseOfRootAreInUse) {
    const UsedRootPorts used(0);
    const PeerListener listener("127.0.0.1");
    EXPECT_THAT(failure_to_connect(listener.options()),
                HasSubstr("127.0.0.1: no source port from 512 to 1023 can be used: Address already in use\n"));
    EXPECT_FALSE(listener.has_connection());
}

TEST(RemoteHost, IsNotReachedFromAnotherPortByRootWithoutPrivileges) {
    const PeerListener listener("127.0.0.1");
    EXPECT_THAT(failure_to_connect(listener.options(), as_user(0)),
                HasSubstr("127.0.0.1: cannot use a source port below 1024: Permission denied\n"));
    EXPECT_FALSE(listener.has_connection());
}

// A connection from a port to itself succeeds without a listener.
TEST(RemoteHost, IsNotReachedAtTheCommandsOwnPort) {
    const UsedRootPorts used(1);
    EXPECT_THAT(failure_to_connect({"-H", "127.0.0.1", "-p", std::to_string(used.left())}),
                HasSubstr("127.0.0.1: Connection refused\n"));
}

}  // namespace
