// Peer verification: which hosts the SERVER list trusts.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "platform/library/host_list.h"
#include "tests/platform/child_process.h"
#include "tests/platform/name_server.h"
#include "tests/platform/system_calls.h"
#include "tests/platform/verified_peer.h"
#include "tests/support/failing_calls.h"
#include "tests/support/foreign_host.h"
#include "tests/support/private_root.h"
#include "tests/support/product_test.h"

using failing_calls::always;
using failing_calls::failures;
using system_calls::overrides;

namespace {

using Hosts = std::vector<std::string>;

struct Row {
    Hosts servers;
    bool trusted;
};

// Names that resolve: to addresses of this host and of others.
constexpr const char* hosts_file =
    "127.0.0.1 localhost\n"
    "::1 localhost\n"
    "127.0.0.1 loop.example.test\n"
    "127.9.8.7 far-loop.example.test\n"
    "::1 loop6.example.test\n"
    "10.77.0.1 own.example.test\n"
    "fd77::1 own6.example.test\n"
    "10.77.0.2 trusted.example.test\n"
    "fd77::2 trusted6.example.test\n"
    "10.77.0.9 both.example.test\n"
    "10.77.0.2 both.example.test\n"
    "10.77.0.9 other.example.test\n";

// What makes this host trusted, and what does not.
const Row this_host_rows[] = {
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
    // Numbers that older readers of addresses take for one of these.
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
    // Some entry is enough.
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

// What makes the foreign host, 10.77.0.2, trusted, and what does not.
const Row foreign_host_rows[] = {
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
const Row foreign_ipv6_rows[] = {
    {{"fd77::2"}, true}, {{"FD77:0:0:0::0002"}, true}, {{"trusted6.example.test"}, true}, {{"fd77::1"}, false},
    {{"fd77::"}, false}, {{"10.77.0.2"}, false},       {{"trusted.example.test"}, false}, {{"localhost"}, false},
    {{"::1"}, false},
};

template <std::size_t count>
void expect_rows(const Row (&rows)[count], const ConnectedSockets& connection) {
    for (const Row& row : rows) {
        trust(row.servers);
        EXPECT_EQ(is_trusted(connection.agent_end.get()), row.trusted) << testing::PrintToString(row.servers);
    }
}

const TcpEnds from_loopback = {.listener = "127.0.0.1", .server = "127.0.0.1", .peer = "127.0.0.1"};
const TcpEnds from_foreign = {.listener = "10.77.0.1", .server = "10.77.0.1", .peer = "10.77.0.2"};
const TcpEnds from_foreign_mapped = {.listener = "::", .server = "10.77.0.1", .peer = "10.77.0.2"};
const TcpEnds from_foreign_ipv6 = {.listener = "::", .server = "fd77::1", .peer = "fd77::2"};

}  // namespace

class ServerList : public ProductTest {
  protected:
    ServerList() { write_file("/etc/hosts", hosts_file); }
    ~ServerList() override { system_calls::reset(); }

    ForeignHost foreign_;
};

TEST_F(ServerList, TrustsAPeerOnAUnixSocketAsThisHost) {
    expect_rows(this_host_rows, connect_locally());
}

TEST_F(ServerList, TrustsAPeerAtALoopbackAddressAsThisHost) {
    expect_rows(this_host_rows, connect_over_tcp(from_loopback));
}

TEST_F(ServerList, TrustsAPeerAtTheIpv6LoopbackAddressAsThisHost) {
    expect_rows(this_host_rows, connect_over_tcp({.listener = "::1", .server = "::1", .peer = "::1"}));
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
    expect_rows(foreign_host_rows, foreign_.connect(from_foreign));
}

TEST_F(ServerList, TrustsAForeignPeerByItsAddressAlsoWhenThatIsMapped) {
    expect_rows(foreign_host_rows, foreign_.connect(from_foreign_mapped));
}

TEST_F(ServerList, TrustsAForeignPeerByItsIpv6Address) {
    expect_rows(foreign_ipv6_rows, foreign_.connect(from_foreign_ipv6));
}

// A link-local address is one host's on each network; an entry may tell the network by its interface.
TEST_F(ServerList, TrustsALinkLocalAddressOnTheInterfaceThatItTells) {
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

// This host's name is of use to this host alone; where it resolves to another, that one is named.
TEST_F(ServerList, TakesANameOfThisHostForAnotherThatItResolvesTo) {
    const ConnectedSockets connection = foreign_.connect(from_foreign);
    trust({"agenthost.example.test"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    write_file("/etc/hosts", "10.77.0.2 agenthost.example.test\n");
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
}

TEST_F(ServerList, KnowsAHostNameWithoutADomain) {
    EXPECT_TRUE(succeeds_in_child([] {
        ASSERT_EQ(sethostname("lonely", 6), 0);
        const ConnectedSockets connection = connect_locally();
        trust({"Lonely"});
        EXPECT_TRUE(is_trusted(connection.agent_end.get()));
        trust({"agenthost"});
        EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    }));
    ASSERT_EQ(sethostname(private_host_name, strlen(private_host_name)), 0);
}

TEST_F(ServerList, KnowsAHostNameOfTheGreatestLength) {
    const std::string name(64, 'n');
    ASSERT_EQ(sethostname(name.c_str(), name.size()), 0);
    const ConnectedSockets connection = connect_locally();
    trust({name});
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
    trust({name.substr(0, 63)});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    ASSERT_EQ(sethostname(private_host_name, strlen(private_host_name)), 0);
}

TEST_F(ServerList, TakesNoEntryForAHostNameThatIsEmpty) {
    EXPECT_TRUE(succeeds_in_child([] {
        ASSERT_EQ(sethostname("", 0), 0);
        const ConnectedSockets connection = connect_locally();
        trust({""});
        EXPECT_FALSE(is_trusted(connection.agent_end.get()));
        trust({"localhost"});
        EXPECT_TRUE(is_trusted(connection.agent_end.get()));
    }));
    ASSERT_EQ(sethostname(private_host_name, strlen(private_host_name)), 0);
}

// Its addresses still tell that it is meant.
TEST_F(ServerList, KnowsThisHostByItsAddressesAloneWhenTheSystemDoesNotTellItsName) {
    const ConnectedSockets connection = connect_locally();
    failures["gethostname"] = always(EPERM);
    trust({"agenthost"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    for (const char* host : {"localhost", "127.0.0.1", "own.example.test"}) {
        trust({host});
        EXPECT_TRUE(is_trusted(connection.agent_end.get())) << host;
    }
    write_file("/etc/hosts", "");
    trust({"localhost"});
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
}

TEST_F(ServerList, KnowsThisHostByItsLoopbackAddressesAloneWhenTheSystemDoesNotTellTheOthers) {
    const ConnectedSockets connection = connect_locally();
    failures["getifaddrs"] = always(ENOMEM);
    for (const char* host : {"10.77.0.1", "own.example.test", "own6.example.test"}) {
        trust({host});
        EXPECT_FALSE(is_trusted(connection.agent_end.get())) << host;
    }
    trust({"127.0.0.1"});
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
}

TEST_F(ServerList, PassesOverInterfacesWithoutAddress) {
    const ConnectedSockets connection = connect_locally();
    overrides.interface_without_address = true;
    trust({"10.77.0.1"});
    EXPECT_TRUE(is_trusted(connection.agent_end.get()));
    trust({"10.77.0.2"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
}

TEST_F(ServerList, TakesNoAddressAtAllForThisHosts) {
    EXPECT_FALSE(platform_library::OwnAddresses().hold(platform_library::Address()));
}

TEST_F(ServerList, TrustsNobodyWhenItHasNotBeenRead) {
    if (in_fresh_process()) {
        EXPECT_FALSE(is_trusted(connect_locally().agent_end.get()));
    }
}

TEST_F(ServerList, IsReadFromLinesOfAnyForm) {
    const ConnectedSockets connection = foreign_.connect(from_foreign);
    write_file(main_configuration,
               "# SERVER = 10.77.0.2\nServer=first.example.test\r\n\tSERVER\t= second.example.test\nSERVER\n");
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    for (const char* line : {"SERVER = 10.77.0.2", "server=10.77.0.2", " Server\t=\t10.77.0.2 \r"}) {
        write_file(main_configuration, std::string("SERVER = first.example.test\nVERBOSE = 1\n") + line + "\nrest\n");
        ASSERT_EQ(ZM_read_master_config(), 0);
        EXPECT_TRUE(is_trusted(connection.agent_end.get())) << line;
    }
}

TEST_F(ServerList, LooksNamesUp) {
    NameServer name_server("unused.example.test");
    trust({"nobody.example.test"});
    EXPECT_FALSE(is_trusted(foreign_.connect(from_foreign).agent_end.get()));
    const Hosts questions = name_server.questions();
    ASSERT_FALSE(questions.empty());
    EXPECT_EQ(questions[0], "address nobody.example.test.");
}

TEST_F(ServerList, LooksNothingUpWhenAnEntryMatchesExactly) {
    NameServer name_server("unused.example.test");
    const ConnectedSockets local = connect_locally();
    for (const char* match : {"localhost", "agenthost", "agenthost.example.test", "127.0.0.1", "::1", "10.77.0.1"}) {
        trust({"nobody.example.test", "no-one.example.test", match});
        EXPECT_TRUE(is_trusted(local.agent_end.get())) << match;
    }
    const ConnectedSockets network = foreign_.connect(from_foreign);
    for (const char* match : {"10.77.0.2", "::ffff:10.77.0.2"}) {
        trust({"nobody.example.test", "no-one.example.test", match});
        EXPECT_TRUE(is_trusted(network.agent_end.get())) << match;
    }
    EXPECT_EQ(name_server.questions(), Hosts());
}

// The peer's host decides what its address is called.
TEST_F(ServerList, BelievesNoNameOfAnAddress) {
    NameServer name_server("server.example.test");
    const ConnectedSockets connection = foreign_.connect(from_foreign);
    trust({"server.example.test"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get()));
    for (const std::string& question : name_server.questions()) {
        EXPECT_TRUE(question.starts_with("address ")) << question;
    }
}

TEST_F(ServerList, LooksNothingUpAfterItsTime) {
    NameServer name_server("unused.example.test");
    const ConnectedSockets connection = foreign_.connect(from_foreign);
    trust({"nobody.example.test", "trusted.example.test"});
    EXPECT_FALSE(is_trusted(connection.agent_end.get(), 0));
    trust({"10.77.0.2"});
    EXPECT_TRUE(is_trusted(connection.agent_end.get(), 0));
    EXPECT_EQ(name_server.questions(), Hosts());
}
