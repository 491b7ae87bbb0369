// Peers over TCP: by their address, their port and the SERVER list.
#include <functional>

#include "tests/end_to_end/peer_case.h"
#include "tests/support/agent_runner.h"
#include "tests/support/foreign_host.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"

namespace {

using log_level::error;

// A peer and its connection.
struct ConnectedPeer {
    PeerCase peer;
    TcpEnds ends;
};

std::ostream& operator<<(std::ostream& out, const ConnectedPeer& peer) {
    return out << peer.peer;
}

class PeerOverLoopback : public testing::TestWithParam<ConnectedPeer> {};

TEST_P(PeerOverLoopback, IsComparedWithTheServerList) {
    make_product_tree();
    name_hosts();
    const auto& [peer, ends] = GetParam();
    trust(peer.servers);
    Agent agent(connect_over_tcp(ends), {});
    agent.send(Request{"FETCHFILE"});
    check(peer, agent.finish());
}

TcpEnds from_ipv4(int port) {
    return {"127.0.0.1", "127.0.0.1", "127.0.0.1", port};
}

TcpEnds from_ipv6(int port) {
    return {"::", "::1", "::1", port};
}

TcpEnds from_mapped_ipv4(int port) {
    return {"::", "127.0.0.1", "127.0.0.1", port};
}

INSTANTIATE_TEST_SUITE_P(
    , PeerOverLoopback,
    testing::Values(
        ConnectedPeer{{"Ipv4RootAtTheLastReservedPort", {"localhost"}, "H=127.0.0.1 P=1023 U=root F=0x42 UT=2"},
                      from_ipv4(1023)},
        ConnectedPeer{{"Ipv4RootAtTheFirstPort", {"localhost"}, "H=127.0.0.1 P=1 U=root F=0x42 UT=2"}, from_ipv4(1)},
        ConnectedPeer{{"Ipv4UserAtTheFirstFreePort", {"localhost"}, "H=127.0.0.1 P=1024 U=unknown F=0x82 UT=0", 135},
                      from_ipv4(1024)},
        ConnectedPeer{{"Ipv4NotListed", {"10.77.0.2"}, "H=127.0.0.1 P=1023 U=root F=0x40 UT=2", 5762}, from_ipv4(1023)},
        ConnectedPeer{{"Ipv4NeitherListedNorRoot", {}, "H=127.0.0.1 P=1024 U=unknown F=0x80 UT=0", 5762},
                      from_ipv4(1024)},
        ConnectedPeer{{"Ipv4ByTheHostName", {"agenthost"}, "H=127.0.0.1 P=1023 U=root F=0x42 UT=2"}, from_ipv4(1023)},
        ConnectedPeer{{"Ipv4ByTheIpv6Loopback", {"::1"}, "H=127.0.0.1 P=1023 U=root F=0x42 UT=2"}, from_ipv4(1023)},
        ConnectedPeer{{"Ipv6Root", {"localhost"}, "H=::1 P=1023 U=root F=0x42 UT=2"}, from_ipv6(1023)},
        ConnectedPeer{{"Ipv6User", {"localhost"}, "H=::1 P=1024 U=unknown F=0x82 UT=0", 135}, from_ipv6(1024)},
        ConnectedPeer{{"Ipv6ByTheIpv4Loopback", {"127.0.0.1"}, "H=::1 P=1023 U=root F=0x42 UT=2"}, from_ipv6(1023)},
        ConnectedPeer{{"MappedIpv4Root", {"localhost"}, "H=127.0.0.1 P=1023 U=root F=0x42 UT=2"},
                      from_mapped_ipv4(1023)},
        ConnectedPeer{{"MappedIpv4User", {"127.0.0.1"}, "H=127.0.0.1 P=1024 U=unknown F=0x82 UT=0", 135},
                      from_mapped_ipv4(1024)}),
    [](const auto& peer) { return peer.param.peer.name; });

class PeerOverTheNetwork : public testing::TestWithParam<ConnectedPeer> {};

TEST_P(PeerOverTheNetwork, IsComparedWithTheServerList) {
    make_product_tree();
    name_hosts();
    const auto& [peer, ends] = GetParam();
    trust(peer.servers);
    const ForeignHost host;
    Agent agent(host.connect(ends), {});
    agent.send(Request{"FETCHFILE"});
    check(peer, agent.finish());
}

const TcpEnds far_ipv4 = {ForeignHost::own_ipv4, ForeignHost::own_ipv4, ForeignHost::ipv4, 1023};
const TcpEnds far_ipv4_user = {ForeignHost::own_ipv4, ForeignHost::own_ipv4, ForeignHost::ipv4, 1024};
const TcpEnds far_mapped_ipv4 = {"::", ForeignHost::own_ipv4, ForeignHost::ipv4, 1023};
const TcpEnds far_ipv6 = {"::", ForeignHost::own_ipv6, ForeignHost::ipv6, 1023};
constexpr const char* far_listed = "H=10.77.0.2 P=1023 U=root F=0x42 UT=2";
constexpr const char* far_unlisted = "H=10.77.0.2 P=1023 U=root F=0x40 UT=2";

INSTANTIATE_TEST_SUITE_P(
    , PeerOverTheNetwork,
    testing::Values(
        ConnectedPeer{{"ByAddress", {"10.77.0.2"}, far_listed}, far_ipv4},
        ConnectedPeer{{"ByName", {"far.example.test"}, far_listed}, far_ipv4},
        ConnectedPeer{{"BySecondEntry", {"localhost", "far.example.test"}, far_listed}, far_ipv4},
        ConnectedPeer{{"ByMappedAddress", {"::ffff:10.77.0.2"}, far_listed}, far_ipv4},
        ConnectedPeer{{"ConnectedAsMappedAddress", {"10.77.0.2"}, far_listed}, far_mapped_ipv4},
        ConnectedPeer{
            {"NotByNamesOfThisHost", {"localhost", "agenthost", "127.0.0.1", "10.77.0.1"}, far_unlisted, 5762},
            far_ipv4},
        ConnectedPeer{{"NotByAnotherAddress", {"10.77.0.3"}, far_unlisted, 5762}, far_ipv4},
        ConnectedPeer{{"NotByAnEmptyList", {}, far_unlisted, 5762}, far_ipv4},
        ConnectedPeer{{"UserUnknown", {"10.77.0.2"}, "H=10.77.0.2 P=1024 U=unknown F=0x82 UT=0", 135}, far_ipv4_user},
        ConnectedPeer{{"ByIpv6AddressInAnotherSpelling", {"FD77:0:0:0::2"}, "H=fd77::2 P=1023 U=root F=0x42 UT=2"},
                      far_ipv6},
        ConnectedPeer{{"ByNameOfIpv6Address", {"far6.example.test"}, "H=fd77::2 P=1023 U=root F=0x42 UT=2"}, far_ipv6},
        ConnectedPeer{{"NotByItsIpv4Address", {"10.77.0.2"}, "H=fd77::2 P=1023 U=root F=0x40 UT=2", 5762}, far_ipv6}),
    [](const auto& peer) { return peer.param.peer.name; });

class NetworkPeer : public ProductTest {};

TEST_F(NetworkPeer, IsThisHostAtAnOwnAddressOnTheNetwork) {
    const ForeignHost host;
    const TcpEnds ends = {ForeignHost::own_ipv4, ForeignHost::own_ipv4, ForeignHost::own_ipv4, 1023};
    Agent agent(connect_over_tcp(ends), {});
    agent.send(Request{"FETCHFILE"});
    check({"", {}, "H=10.77.0.1 P=1023 U=root F=0x42 UT=2"}, agent.finish());
}

TEST_F(NetworkPeer, IsReportedAsAnUnknownUserAtPort1024) {
    Agent agent(connect_over_tcp(from_ipv4(1024)), {});
    const AgentRun run = agent.finish();
    EXPECT_THAT(run.log, LogHas({error, "setup_comms_w_client", "peer user info unavailable"}));
    expect_rejected(run, 135);
}

}  // namespace
