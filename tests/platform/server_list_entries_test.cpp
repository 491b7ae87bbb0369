// Peer verification: which entries of the SERVER list trust a peer.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>

#include <string>
#include <vector>

#include "platform/library/host_list.h"
#include "tests/platform/server_list.h"

namespace {

struct ServerListCase {
    std::vector<std::string> servers;
    bool trusted;
};

// Which entries trust this host.
const ServerListCase this_host_cases[] = {
    {{}, false},
    {{""}, false},
    // Its names.
    {{"localhost"}, true},
    {{"LOCALHOST"}, true},
    {{"LocalHost"}, true},
    {{"agenthost.example.test"}, true},
    {{"AgentHost.Example.Test"}, true},
    {{"agenthost"}, true},
    {{"AGENTHOST"}, true},
    {{"agenthost.example"}, false},
    {{"agenthost.other.test"}, false},
    {{"agenthos"}, false},
    {{"agenthost2"}, false},
    {{"agenthost.example.test.example.test"}, false},
    {{"localhosts"}, false},
    {{"example.test"}, false},
    // Loopback addresses.
    {{"127.0.0.1"}, true},
    {{"127.0.0.2"}, true},
    {{"127.255.255.254"}, true},
    {{"::1"}, true},
    {{"0:0:0:0:0:0:0:1"}, true},
    {{"::ffff:127.0.0.1"}, true},
    {{"::ffff:7f00:1"}, true},
    {{"::2"}, false},
    {{"126.255.255.255"}, false},
    {{"128.0.0.1"}, false},
    // Numbers that older parsers read as one of these.
    {{"127.1"}, false},
    {{"127.0.0.01"}, false},
    {{"0x7f000001"}, false},
    {{"0x7f.0.0.1"}, false},
    {{"2130706433"}, false},
    {{"127.0.0.1."}, false},
    {{"::1%lo"}, false},
    // Its own addresses.
    {{"10.77.0.1"}, true},
    {{"::ffff:10.77.0.1"}, true},
    {{"fd77::1"}, true},
    {{"FD77:0::0:1"}, true},
    {{"10.77.0.2"}, false},
    {{"10.77.0.9"}, false},
    {{"fd77::2"}, false},
    // Names that resolve to one of these.
    {{"loop.example.test"}, true},
    {{"Loop.Example.TEST"}, true},
    {{"far-loop.example.test"}, true},
    {{"loop6.example.test"}, true},
    {{"own.example.test"}, true},
    {{"own6.example.test"}, true},
    {{"trusted.example.test"}, false},
    {{"nobody.example.test"}, false},
    // One matching entry is enough.
    {{"nobody.example.test", "10.77.0.9", "localhost"}, true},
    {{"localhost", "nobody.example.test"}, true},
    {{"10.77.0.9", "own.example.test", "nobody.example.test"}, true},
    {{"10.77.0.9", "10.77.0.2", "other.example.test"}, false},
    // Entries are hosts, not patterns.
    {{"*"}, false},
    {{"127.0.0.0/8"}, false},
    {{"localhost agenthost"}, false},
    {{"localhost,agenthost"}, false},
    {{"127.0.0.1:24761"}, false},
};

// Which entries trust the foreign host, 10.77.0.2.
const ServerListCase foreign_host_cases[] = {
    {{}, false},
    {{""}, false},
    {{"10.77.0.2"}, true},
    {{"::ffff:10.77.0.2"}, true},
    {{"::ffff:a4d:2"}, true},
    {{"trusted.example.test"}, true},
    {{"TRUSTED.example.test"}, true},
    {{"both.example.test"}, true},
    {{"other.example.test", "10.77.0.2"}, true},
    {{"nobody.example.test", "trusted.example.test"}, true},
    {{"localhost"}, false},
    {{"agenthost.example.test"}, false},
    {{"agenthost"}, false},
    {{"127.0.0.1"}, false},
    {{"10.77.0.1"}, false},
    {{"own.example.test"}, false},
    {{"10.77.0.20"}, false},
    {{"10.77.0"}, false},
    {{"10.77.2"}, false},
    {{"10.077.0.2"}, false},
    {{"10.77.0.002"}, false},
    {{"012.77.0.2"}, false},
    {{"0x0a4d0002"}, false},
    {{"172818434"}, false},
    {{"10.77.0.2."}, false},
    {{"10.77.0.0/24"}, false},
    {{"10.77.0.*"}, false},
    {{"fd77::2"}, false},
    {{"trusted6.example.test"}, false},
    {{"other.example.test"}, false},
    {{"nobody.example.test"}, false},
};

// The same for the foreign host's IPv6 address, fd77::2.
const ServerListCase foreign_ipv6_cases[] = {
    {{"fd77::2"}, true}, {{"FD77:0:0:0::0002"}, true}, {{"trusted6.example.test"}, true}, {{"fd77::1"}, false},
    {{"fd77::"}, false}, {{"10.77.0.2"}, false},       {{"trusted.example.test"}, false}, {{"localhost"}, false},
    {{"::1"}, false},
};

template <std::size_t count>
void expect_cases(const ServerListCase (&cases)[count], const ConnectedSockets& connection) {
    for (const ServerListCase& row : cases) {
        trust(row.servers);
        EXPECT_EQ(is_trusted(connection.agent_end.get()), row.trusted) << testing::PrintToString(row.servers);
    }
}

}  // namespace

TEST_F(ServerList, TrustsAPeerOnAUnixSocketAsThisHost) {
    expect_cases(this_host_cases, connect_locally());
}

TEST_F(ServerList, TrustsAPeerAtALoopbackAddressAsThisHost) {
    expect_cases(this_host_cases, connect_over_tcp(from_loopback));
}

TEST_F(ServerList, TrustsAPeerAtTheIpv6LoopbackAddressAsThisHost) {
    expect_cases(this_host_cases, connect_over_tcp({.listener = "::1", .server = "::1", .peer = "::1"}));
}

TEST_F(ServerList, TrustsAPeerAtAnyAddressOfThisHostAsThisHost) {
    const TcpEnds rows[] = {
        {.listener = "127.0.0.1", .server = "127.0.0.1", .peer = "127.0.0.2"},
        {.listener = "127.0.0.1", .server = "127.0.0.1", .peer = "127.255.255.254"},
        {.listener = "::", .server = "127.0.0.1", .peer = "127.0.0.2"},
        {.listener = "10.77.0.1", .server = "10.77.0.1", .peer = "10.77.0.1"},
        {.listener = "::", .server = "10.77.0.1", .peer = "10.77.0.1"},
        {.listener = "::", .server = "fd77::1", .peer = "fd77::1"},
    };
    for (const TcpEnds& ends : rows) {
        const ConnectedSockets connection = connect_over_tcp(ends);
        for (const char* server : {"localhost", "agenthost", "127.0.0.1", "::1", "10.77.0.1", "own6.example.test"}) {
            trust({server});
            EXPECT_TRUE(is_trusted(connection.agent_end.get())) << ends.peer << " " << server;
        }
        for (const char* server : {"10.77.0.2", "trusted.example.test", "nobody.example.test"}) {
            trust({server});
            EXPECT_FALSE(is_trusted(connection.agent_end.get())) << ends.peer << " " << server;
        }
    }
}

TEST_F(ServerList, TrustsAForeignPeerByItsAddress) {
    expect_cases(foreign_host_cases, foreign_.connect(from_foreign));
}

TEST_F(ServerList, TrustsAForeignPeerByItsMappedAddress) {
    expect_cases(foreign_host_cases, foreign_.connect(from_foreign_mapped));
}

TEST_F(ServerList, TrustsAForeignPeerByItsIpv6Address) {
    expect_cases(foreign_ipv6_cases, foreign_.connect(from_foreign_ipv6));
}

// A link-local address is unique only within a network. An entry may name the network by its interface.
TEST_F(ServerList, TrustsALinkLocalAddressOnlyOnItsInterface) {
    const unsigned cable = if_nametoindex("home");
    const unsigned loopback = if_nametoindex("lo");
    ASSERT_NE(cable, 0U);
    ASSERT_NE(cable, loopback);
    sockaddr_in6 peer{};
    peer.sin6_family = AF_INET6;
    ASSERT_EQ(inet_pton(AF_INET6, "fe80::2", &peer.sin6_addr), 1);
    const auto is_named = [&](const std::string& host, unsigned scope) {
        peer.sin6_scope_id = scope;
        const auto address = platform_library::address_of(reinterpret_cast<const sockaddr*>(&peer));
        return platform_library::names_address({host}, address, Deadline::max());
    };
    EXPECT_TRUE(is_named("fe80::2%home", cable));
    EXPECT_FALSE(is_named("fe80::2%lo", cable));
    EXPECT_FALSE(is_named("fe80::2%home", loopback));
    EXPECT_TRUE(is_named("fe80::2%lo", loopback));
    for (const unsigned scope : {cable, loopback}) {
        EXPECT_TRUE(is_named("fe80::2", scope));
        EXPECT_FALSE(is_named("fe80::3", scope));
        EXPECT_FALSE(is_named("fe80::3%home", scope));
    }
    EXPECT_TRUE(is_named("fe80::2%home", 0));
    EXPECT_TRUE(is_named("fe80::2%" + std::to_string(cable), cable));
    EXPECT_FALSE(is_named("fe80::2%" + std::to_string(cable), loopback));
    EXPECT_FALSE(is_named("fe80::2%nowhere", cable));
    EXPECT_FALSE(is_named("fe80::2%", cable));
}
