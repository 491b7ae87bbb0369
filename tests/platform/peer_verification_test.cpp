// Peer verification: what it reports of a connection and writes to the debug log.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/library/statuses.h"
#include "platform/runtime.h"
#include "tests/platform/child_process.h"
#include "tests/platform/system_calls.h"
#include "tests/platform/verified_peer.h"
#include "tests/platform/written_debug_log.h"
#include "tests/support/failing_calls.h"
#include "tests/support/foreign_host.h"
#include "tests/support/product_test.h"

namespace {

constexpr int last_reserved_port = 1023;
constexpr int first_unreserved_port = 1024;

std::string logged_verification(const ConnectedSockets& connection) {
    return logged_message([&] { EXPECT_EQ(verify_peer(connection.agent_end.get()).status, 0); });
}

// Inserts the port.
std::string expected_message(const std::string& host, int port, const std::string& rest) {
    return "<4> xnet_verify_peer_creds: H=" + host + " P=" + std::to_string(port) + " " + rest;
}

// A connection that could not be examined is not trusted. The log still shows what is known of it.
void expect_not_examined(int socket, const std::string& host = "unknown", int port = 0) {
    EXPECT_EQ(logged_message([&] {
                  const VerifiedPeer peer = verify_peer(socket);
                  EXPECT_EQ(peer.status, platform_library::status::peer_not_examined);
                  EXPECT_EQ(peer.flags, 0U);
                  EXPECT_EQ(peer.user_type, 0U);
              }),
              expected_message(host, port, "U=unknown F=0x0 UT=0"));
}

// Connects the socket to the port of the loopback address of this host.
void connect_to_port(int socket, int family, int port) {
    sockaddr_in ipv4{};
    ipv4.sin_family = AF_INET;
    ipv4.sin_port = htons(static_cast<in_port_t>(port));
    ipv4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 ipv6{};
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_port = ipv4.sin_port;
    ipv6.sin6_addr = in6addr_loopback;
    const int result = family == AF_INET ? connect(socket, reinterpret_cast<const sockaddr*>(&ipv4), sizeof ipv4)
                                         : connect(socket, reinterpret_cast<const sockaddr*>(&ipv6), sizeof ipv6);
    ASSERT_EQ(result, 0);
}

}  // namespace

class PeerVerification : public ProductTest {};

TEST_F(PeerVerification, LogsALocalPeer) {
    trust({"localhost"});
    EXPECT_EQ(logged_verification(connect_locally()), "<4> xnet_verify_peer_creds: H=local P=0 U=root F=0x42 UT=2");
}

TEST_F(PeerVerification, LogsAPeerThatIsNotTrusted) {
    trust({});
    EXPECT_EQ(logged_verification(connect_locally()), "<4> xnet_verify_peer_creds: H=local P=0 U=root F=0x40 UT=2");
}

TEST_F(PeerVerification, LogsAPeerWithAReservedPort) {
    trust({"localhost"});
    for (const int port : {1, 512, last_reserved_port}) {
        TcpEnds ends;
        ends.peer_port = port;
        EXPECT_EQ(logged_verification(connect_over_tcp(ends)),
                  expected_message("127.0.0.1", port, "U=root F=0x42 UT=2"));
    }
}

TEST_F(PeerVerification, LogsAPeerWithAnotherPort) {
    trust({"localhost"});
    for (const int port : {first_unreserved_port, 65535}) {
        TcpEnds ends;
        ends.peer_port = port;
        EXPECT_EQ(logged_verification(connect_over_tcp(ends)),
                  expected_message("127.0.0.1", port, "U=unknown F=0x82 UT=0"));
    }
}

TEST_F(PeerVerification, LogsAnIpv6Peer) {
    trust({"localhost"});
    const ConnectedSockets connection =
        connect_over_tcp({.listener = "::1", .server = "::1", .peer = "::1", .peer_port = last_reserved_port});
    EXPECT_EQ(logged_verification(connection), expected_message("::1", last_reserved_port, "U=root F=0x42 UT=2"));
}

TEST_F(PeerVerification, LogsAMappedIpv4PeerAsIpv4) {
    trust({"localhost"});
    for (const int port : {last_reserved_port, first_unreserved_port}) {
        TcpEnds ends;
        ends.listener = "::";
        ends.peer_port = port;
        const char* const user = port == last_reserved_port ? "U=root F=0x42 UT=2" : "U=unknown F=0x82 UT=0";
        EXPECT_EQ(logged_verification(connect_over_tcp(ends)), expected_message("127.0.0.1", port, user));
    }
}

TEST_F(PeerVerification, LogsAForeignPeer) {
    const ForeignHost foreign;
    trust({});
    struct LoggedPeer {
        TcpEnds ends;
        const char* rest;
    };
    const LoggedPeer rows[] = {
        {{"10.77.0.1", "10.77.0.1", "10.77.0.2", last_reserved_port}, "U=root F=0x40 UT=2"},
        {{"10.77.0.1", "10.77.0.1", "10.77.0.2", first_unreserved_port}, "U=unknown F=0x80 UT=0"},
        {{"::", "10.77.0.1", "10.77.0.2", last_reserved_port}, "U=root F=0x40 UT=2"},
        {{"fd77::1", "fd77::1", "fd77::2", last_reserved_port}, "U=root F=0x40 UT=2"},
        {{"fd77::1", "fd77::1", "fd77::2", first_unreserved_port}, "U=unknown F=0x80 UT=0"},
    };
    for (const LoggedPeer& row : rows) {
        EXPECT_EQ(logged_verification(foreign.connect(row.ends)),
                  expected_message(row.ends.peer, row.ends.peer_port, row.rest));
    }
}

TEST_F(PeerVerification, ReturnsWhatItLogs) {
    trust({"localhost"});
    const ConnectedSockets local = connect_locally();
    VerifiedPeer peer = verify_peer(local.agent_end.get());
    EXPECT_EQ(peer.status, 0);
    EXPECT_EQ(peer.flags, 0x42U);
    EXPECT_EQ(peer.user_type, 2U);
    const ConnectedSockets network = connect_over_tcp({});
    peer = verify_peer(network.agent_end.get());
    EXPECT_EQ(peer.status, 0);
    EXPECT_EQ(peer.flags, 0x82U);
    EXPECT_EQ(peer.user_type, 0U);
}

TEST_F(PeerVerification, ReadsNothing) {
    trust({"localhost"});
    ConnectedSockets connections[] = {connect_locally(), connect_over_tcp({})};
    for (const ConnectedSockets& connection : connections) {
        ASSERT_EQ(send(connection.peer_end.get(), "1:2,rest", 8, 0), 8);
        ASSERT_EQ(verify_peer(connection.agent_end.get()).status, 0);
        std::string text(16, '\0');
        EXPECT_EQ(recv(connection.agent_end.get(), text.data(), text.size(), 0), 8);
        EXPECT_EQ(text.substr(0, 8), "1:2,rest");
    }
}

TEST_F(PeerVerification, DoesNotWaitForARequest) {
    trust({"localhost"});
    const ConnectedSockets connection = connect_locally();
    EXPECT_EQ(verify_peer(connection.agent_end.get()).status, 0);
}

TEST_F(PeerVerification, ExaminesAPeerThatHasClosedItsEnd) {
    trust({"localhost"});
    ConnectedSockets connection = connect_locally();
    connection.peer_end.reset();
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
}

TEST_F(PeerVerification, FailsForADescriptorThatIsNotAConnection) {
    trust({"localhost"});
    expect_not_examined(-1);
    int pipe_ends[2] = {-1, -1};
    ASSERT_EQ(pipe(pipe_ends), 0);
    const Descriptor reading(pipe_ends[0]);
    const Descriptor writing(pipe_ends[1]);
    expect_not_examined(reading.get());
    for (const int family : {AF_UNIX, AF_INET, AF_INET6}) {
        const Descriptor unconnected(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
        expect_not_examined(unconnected.get());
    }
    const Listener listener("127.0.0.1");
    const Descriptor listening_alone(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, 0));
    expect_not_examined(listening_alone.get());
}

// A peer that the kernel does not name is unknown, not root.
TEST_F(PeerVerification, FailsForALocalPeerWithoutAUserFromTheKernel) {
    trust({"localhost"});
    const ConnectedSockets connection = connect_locally();
    failing_calls::failures["getsockopt"] = {ENOBUFS};
    expect_not_examined(connection.agent_end.get(), "local");
    system_calls::reset();
}

TEST_F(PeerVerification, FailsForALocalConnectionThatIsNotAStream) {
    trust({"localhost"});
    for (const int type : {SOCK_DGRAM, SOCK_SEQPACKET}) {
        int ends[2] = {-1, -1};
        ASSERT_EQ(socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends), 0);
        const Descriptor agent_end(ends[0]);
        const Descriptor peer_end(ends[1]);
        expect_not_examined(agent_end.get(), "local");
    }
}

// The sender of a datagram can write any address into it, even with the protocol number of TCP.
TEST_F(PeerVerification, FailsForAConnectionOfDatagrams) {
    trust({"localhost", "127.0.0.1"});
    struct Socket {
        int family;
        int type;
        int protocol;
    };
    for (const Socket& row :
         {Socket{AF_INET, SOCK_DGRAM, 0}, Socket{AF_INET6, SOCK_DGRAM, 0}, Socket{AF_INET, SOCK_RAW, IPPROTO_TCP}}) {
        const Descriptor agent_end(socket(row.family, row.type | SOCK_CLOEXEC, row.protocol));
        connect_to_port(agent_end.get(), row.family, last_reserved_port);
        expect_not_examined(agent_end.get(), row.family == AF_INET ? "127.0.0.1" : "::1", last_reserved_port);
    }
}

TEST_F(PeerVerification, TrustsOnlyTcp) {
    trust({"localhost"});
    const ConnectedSockets connection = connect_over_tcp({.peer_port = last_reserved_port});
    for (const int protocol : {IPPROTO_TCP, IPPROTO_MPTCP}) {
        system_calls::overrides.protocol = protocol;
        EXPECT_TRUE(is_trusted(connection.agent_end.get())) << protocol;
    }
    const int others[] = {IPPROTO_SCTP, IPPROTO_UDP, 0, -1};
    for (const int protocol : others) {
        system_calls::overrides.protocol = protocol;
        expect_not_examined(connection.agent_end.get(), "127.0.0.1", last_reserved_port);
    }
    system_calls::reset();
}

// Every operation of the library runs here once.
TEST_F(PeerVerification, IsTheOnlyOperationThatLogs) {
    trust({"localhost", "elsewhere.example.test"});
    const ConnectedSockets connection = connect_locally();
    const std::string log = debug_log_of([&] {
        static_cast<void>(ZM_read_master_config());
        EXPECT_EQ(verify_peer(connection.agent_end.get()).status, 0);
        int error = 0;
        get_long(-1, 0, &error);
        ConfigRecord record{};
        char refused[] = "SERVER=elsewhere";
        static_cast<void>(ParseConfigExA(refused, &record, nullptr, 1));
        char accepted[] = "KEY=value";
        static_cast<void>(ParseConfigExA(accepted, &record, nullptr, 1));
        remove_tree(main_configuration);
        EXPECT_NE(UpdateHostConfigExA(QRConfZMStandardServer, &record, nullptr, 0, 0, 0), 0);
        EXPECT_NE(ZM_read_master_config(), 0);
        FreeConfig(&record);
        EXPECT_EQ(mklogdirpath("/usr/kumel", getDirCreationMode("kumel"), &error), 0);
        EXPECT_FALSE(temporary_name("/tmp", "zmla").empty());
        EXPECT_STRNE(getECmsg(5901), "");
    });
    EXPECT_EQ(message_of(log), "<4> xnet_verify_peer_creds: H=local P=0 U=root F=0x42 UT=2");
}
