// Who is let in: hosts of the SERVER list, and their root alone.
#include <sys/socket.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <functional>

#include "tests/support/agent_runner.h"
#include "tests/support/foreign_host.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/replaced_file.h"
#include "tests/support/test_files.h"

namespace {

using Servers = std::vector<std::string>;

void trust(const Servers& servers) {
    std::string text;
    for (const std::string& server : servers) {
        text += "SERVER = " + server + "\n";
    }
    write_file(main_configuration, text);
}

void name_hosts() {
    write_file("/etc/hosts",
               "127.0.0.1 localhost\n::1 localhost\n127.0.0.1 alias.example.test alias\n"
               "10.77.0.1 cable.example.test\n10.77.0.2 far.example.test\nfd77::2 far6.example.test\n");
}

struct PeerCase {
    std::string name;
    Servers servers;
    // What the log says of the peer.
    std::string seen;
    int status = 0;
};

std::ostream& operator<<(std::ostream& out, const PeerCase& row) {
    return out << row.name;
}

std::string name_of_case(const testing::TestParamInfo<PeerCase>& row) {
    return row.param.name;
}

void expect_verified(const AgentRun& run) {
    EXPECT_THAT(run.log, LogHas({4, "setup_comms_w_client", "verified credentials of peer"}));
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.exit_status(), 0);
}

// A refused peer receives one line, whatever it sent, and the log says why in one line.
void expect_refused(const AgentRun& run, int status) {
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.received, run.status_line());
    EXPECT_EQ(run.received.find('\n'), run.received.size() - 1);
    EXPECT_EQ(run.status(), status);
    EXPECT_EQ(run.exit_status(), status == 5762 ? 252 : status);
    EXPECT_THAT(run.log,
                LogHas({16, "zmlogadmagent", "client communication setup failed SC=" + std::to_string(status)}));
    EXPECT_THAT(run.log, Not(LogHas({4, "setup_comms_w_client", "verified credentials of peer"})));
}

void check(const PeerCase& row, const AgentRun& run) {
    EXPECT_THAT(run.log, testing::Contains(IsLine(LogLine{4, "xnet_verify_peer_creds", row.seen})).Times(1));
    if (row.status == 0) {
        expect_verified(run);
    } else {
        expect_refused(run, row.status);
    }
}

class LocalPeer : public testing::TestWithParam<PeerCase> {};

TEST_P(LocalPeer, IsHeldAgainstTheServerList) {
    make_product_tree();
    name_hosts();
    trust(GetParam().servers);
    check(GetParam(), run_agent({"FETCHFILE"}));
}

constexpr const char* listed_root = "H=local P=0 U=root F=0x42 UT=2";
constexpr const char* unlisted_root = "H=local P=0 U=root F=0x40 UT=2";

INSTANTIATE_TEST_SUITE_P(
    Table, LocalPeer,
    testing::Values(PeerCase{"Localhost", {"localhost"}, listed_root},
                    PeerCase{"LocalhostInCapitals", {"LOCALHOST"}, listed_root},
                    PeerCase{"WholeHostName", {"agenthost.example.test"}, listed_root},
                    PeerCase{"WholeHostNameInAnyCase", {"AgentHost.Example.TEST"}, listed_root},
                    PeerCase{"FirstLabelOfTheHostName", {"AGENTHOST"}, listed_root},
                    PeerCase{"HalfOfTheHostName", {"agenthost.example"}, unlisted_root, 5762},
                    PeerCase{"StartOfTheHostName", {"agent"}, unlisted_root, 5762},
                    PeerCase{"LoopbackAddress", {"127.0.0.1"}, listed_root},
                    PeerCase{"AnyLoopbackAddress", {"127.9.8.7"}, listed_root},
                    PeerCase{"Ipv6LoopbackAddress", {"::1"}, listed_root},
                    PeerCase{"LoopbackAddressMappedIntoIpv6", {"::ffff:127.0.0.1"}, listed_root},
                    PeerCase{"NameOfALoopbackAddress", {"alias.example.test"}, listed_root},
                    PeerCase{"SecondOfTwoEntries", {"elsewhere.example.test", "localhost"}, listed_root},
                    PeerCase{"AddressOfAnotherHost", {"10.77.0.2"}, unlisted_root, 5762},
                    PeerCase{"NameOfAnotherHost", {"far.example.test"}, unlisted_root, 5762},
                    PeerCase{"NameThatNobodyKnows", {"elsewhere.example.test"}, unlisted_root, 5762},
                    PeerCase{"EmptyEntry", {""}, unlisted_root, 5762}, PeerCase{"NoEntry", {}, unlisted_root, 5762}),
    name_of_case);

struct ServerLine {
    std::string name;
    std::string configuration;
    int status = 0;
};

std::ostream& operator<<(std::ostream& out, const ServerLine& row) {
    return out << row.name;
}

class ServerList : public testing::TestWithParam<ServerLine> {};

TEST_P(ServerList, IsReadFromTheMainConfiguration) {
    make_product_tree();
    write_file(main_configuration, GetParam().configuration);
    EXPECT_EQ(run_agent({"FETCHFILE"}).status(), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ServerList,
    testing::Values(
        ServerLine{"NoBlanks", "SERVER=localhost\n"}, ServerLine{"ManyBlanks", " \tSERVER \t= \t localhost \t\n"},
        ServerLine{"CarriageReturn", "SERVER = localhost\r\n"}, ServerLine{"NoNewline", "SERVER = localhost"},
        ServerLine{"KeyInSmallLetters", "server = localhost\n"},
        ServerLine{"KeyInMixedLetters", "Server = localhost\n"},
        ServerLine{"BelowOtherLines", "# remark\n\nVERBOSE = 5\nnonsense\n= x\nSERVER = localhost\n"},
        ServerLine{"LastOfMany", "SERVER = a.example.test\nVERBOSE = 5\nSERVER = b.example.test\nSERVER = localhost\n"},
        ServerLine{"EmptyFile", "", 5762}, ServerLine{"Remark", "#SERVER = localhost\n", 5762},
        ServerLine{"RemarkBehindBlanks", "  # SERVER = localhost\n", 5762},
        ServerLine{"NoEqualsSign", "SERVER localhost\n", 5762}, ServerLine{"AnotherKey", "SERVERS = localhost\n", 5762},
        ServerLine{"BlankInTheKey", "SER VER = localhost\n", 5762},
        ServerLine{"TwoHostsOnOneLine", "SERVER = localhost elsewhere\n", 5762},
        ServerLine{"RemarkBehindTheHost", "SERVER = localhost # this host\n", 5762}),
    [](const auto& row) { return row.param.name; });

class PeerOverLoopback : public testing::TestWithParam<std::tuple<PeerCase, TcpEnds>> {};

TEST_P(PeerOverLoopback, IsHeldAgainstTheServerList) {
    make_product_tree();
    name_hosts();
    const auto& [row, ends] = GetParam();
    trust(row.servers);
    Agent agent(connect_over_tcp(ends), {});
    agent.send(Request{"FETCHFILE"});
    check(row, agent.finish());
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
    Table, PeerOverLoopback,
    testing::Values(
        std::tuple(PeerCase{"Ipv4RootAtTheLastReservedPort", {"localhost"}, "H=127.0.0.1 P=1023 U=root F=0x42 UT=2"},
                   from_ipv4(1023)),
        std::tuple(PeerCase{"Ipv4RootAtTheFirstPort", {"localhost"}, "H=127.0.0.1 P=1 U=root F=0x42 UT=2"},
                   from_ipv4(1)),
        std::tuple(
            PeerCase{"Ipv4UserAtTheFirstFreePort", {"localhost"}, "H=127.0.0.1 P=1024 U=unknown F=0x82 UT=0", 135},
            from_ipv4(1024)),
        std::tuple(PeerCase{"Ipv4NotListed", {"10.77.0.2"}, "H=127.0.0.1 P=1023 U=root F=0x40 UT=2", 5762},
                   from_ipv4(1023)),
        std::tuple(PeerCase{"Ipv4NeitherListedNorRoot", {}, "H=127.0.0.1 P=1024 U=unknown F=0x80 UT=0", 5762},
                   from_ipv4(1024)),
        std::tuple(PeerCase{"Ipv4ByTheHostName", {"agenthost"}, "H=127.0.0.1 P=1023 U=root F=0x42 UT=2"},
                   from_ipv4(1023)),
        std::tuple(PeerCase{"Ipv4ByTheIpv6Loopback", {"::1"}, "H=127.0.0.1 P=1023 U=root F=0x42 UT=2"},
                   from_ipv4(1023)),
        std::tuple(PeerCase{"Ipv6Root", {"localhost"}, "H=::1 P=1023 U=root F=0x42 UT=2"}, from_ipv6(1023)),
        std::tuple(PeerCase{"Ipv6User", {"localhost"}, "H=::1 P=1024 U=unknown F=0x82 UT=0", 135}, from_ipv6(1024)),
        std::tuple(PeerCase{"Ipv6ByTheIpv4Loopback", {"127.0.0.1"}, "H=::1 P=1023 U=root F=0x42 UT=2"},
                   from_ipv6(1023)),
        std::tuple(PeerCase{"MappedIpv4Root", {"localhost"}, "H=127.0.0.1 P=1023 U=root F=0x42 UT=2"},
                   from_mapped_ipv4(1023)),
        std::tuple(PeerCase{"MappedIpv4User", {"127.0.0.1"}, "H=127.0.0.1 P=1024 U=unknown F=0x82 UT=0", 135},
                   from_mapped_ipv4(1024))),
    [](const auto& row) { return std::get<0>(row.param).name; });

class PeerOverTheNetwork : public testing::TestWithParam<std::tuple<PeerCase, TcpEnds>> {};

TEST_P(PeerOverTheNetwork, IsHeldAgainstTheServerList) {
    make_product_tree();
    name_hosts();
    const auto& [row, ends] = GetParam();
    trust(row.servers);
    const ForeignHost host;
    Agent agent(host.connect(ends), {});
    agent.send(Request{"FETCHFILE"});
    check(row, agent.finish());
}

const TcpEnds far_ipv4 = {ForeignHost::own_ipv4, ForeignHost::own_ipv4, ForeignHost::ipv4, 1023};
const TcpEnds far_ipv4_user = {ForeignHost::own_ipv4, ForeignHost::own_ipv4, ForeignHost::ipv4, 1024};
const TcpEnds far_mapped_ipv4 = {"::", ForeignHost::own_ipv4, ForeignHost::ipv4, 1023};
const TcpEnds far_ipv6 = {"::", ForeignHost::own_ipv6, ForeignHost::ipv6, 1023};
constexpr const char* far_listed = "H=10.77.0.2 P=1023 U=root F=0x42 UT=2";
constexpr const char* far_unlisted = "H=10.77.0.2 P=1023 U=root F=0x40 UT=2";

INSTANTIATE_TEST_SUITE_P(
    Table, PeerOverTheNetwork,
    testing::Values(
        std::tuple(PeerCase{"ByAddress", {"10.77.0.2"}, far_listed}, far_ipv4),
        std::tuple(PeerCase{"ByName", {"far.example.test"}, far_listed}, far_ipv4),
        std::tuple(PeerCase{"BySecondEntry", {"localhost", "far.example.test"}, far_listed}, far_ipv4),
        std::tuple(PeerCase{"ByMappedAddress", {"::ffff:10.77.0.2"}, far_listed}, far_ipv4),
        std::tuple(PeerCase{"ConnectedAsMappedAddress", {"10.77.0.2"}, far_listed}, far_mapped_ipv4),
        std::tuple(
            PeerCase{"NotByNamesOfThisHost", {"localhost", "agenthost", "127.0.0.1", "10.77.0.1"}, far_unlisted, 5762},
            far_ipv4),
        std::tuple(PeerCase{"NotByAnotherAddress", {"10.77.0.3"}, far_unlisted, 5762}, far_ipv4),
        std::tuple(PeerCase{"NotByNothing", {}, far_unlisted, 5762}, far_ipv4),
        std::tuple(PeerCase{"UserUnknown", {"10.77.0.2"}, "H=10.77.0.2 P=1024 U=unknown F=0x82 UT=0", 135},
                   far_ipv4_user),
        std::tuple(PeerCase{"ByIpv6AddressInAnotherSpelling", {"FD77:0:0:0::2"}, "H=fd77::2 P=1023 U=root F=0x42 UT=2"},
                   far_ipv6),
        std::tuple(PeerCase{"ByNameOfIpv6Address", {"far6.example.test"}, "H=fd77::2 P=1023 U=root F=0x42 UT=2"},
                   far_ipv6),
        std::tuple(PeerCase{"NotByItsIpv4Address", {"10.77.0.2"}, "H=fd77::2 P=1023 U=root F=0x40 UT=2", 5762},
                   far_ipv6)),
    [](const auto& row) { return std::get<0>(row.param).name; });

class PeerVerification : public ProductTest {};

TEST_F(PeerVerification, TakesAnOwnAddressOnTheNetworkForThisHost) {
    const ForeignHost host;
    const TcpEnds ends = {ForeignHost::own_ipv4, ForeignHost::own_ipv4, ForeignHost::own_ipv4, 1023};
    Agent agent(connect_over_tcp(ends), {});
    agent.send(Request{"FETCHFILE"});
    check({"", {}, "H=10.77.0.1 P=1023 U=root F=0x42 UT=2"}, agent.finish());
}

TEST_F(PeerVerification, TakesAnEntryOfAnOwnAddressForThisHost) {
    name_hosts();
    const ForeignHost host;
    trust({"cable.example.test"});
    check({"", {}, listed_root}, run_agent({"FETCHFILE"}));
}

TEST_F(PeerVerification, SaysThatThePeersHostIsNotListed) {
    trust({});
    const AgentRun run = run_agent({"FETCHFILE"});
    const std::string length = std::to_string(run.received.size());
    EXPECT_THAT(run.log, LogIs({
                             {4, "xnet_verify_peer_creds", unlisted_root},
                             {16, "setup_comms_w_client", "peer not in SERVER list"},
                             {16, "zmlogadmagent", "client communication setup failed SC=5762"},
                             {4, "socksend", "sent installment #1: " + length + " of " + length},
                             {4, "socksend", "sent M=<text> L=" + length + ", " + length},
                         }));
}

TEST_F(PeerVerification, SaysThatThePeersUserIsUnknown) {
    Agent agent(connect_over_tcp(from_ipv4(1024)), {});
    const AgentRun run = agent.finish();
    EXPECT_THAT(run.log, LogHas({16, "setup_comms_w_client", "peer user info unavailable"}));
    expect_refused(run, 135);
}

TEST_F(PeerVerification, SaysThatThePeersUserIsNotRoot) {
    AgentOptions options;
    options.user = 1000;
    const AgentRun run = run_agent({"FETCHFILE"}, options);
    EXPECT_THAT(run.log, LogHas({4, "xnet_verify_peer_creds", "H=local P=0 U=1000 F=0x2 UT=2"}));
    EXPECT_THAT(run.log, LogHas({16, "setup_comms_w_client", "peer is not root user"}));
    expect_refused(run, 135);
}

TEST_F(PeerVerification, SaysThatAConnectionThatIsNoStreamCannotBeExamined) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    Agent agent({Descriptor(ends[0]), Descriptor(ends[1])}, {});
    const AgentRun run = agent.finish();
    EXPECT_THAT(run.log, LogHas({4, "xnet_verify_peer_creds", "H=local P=0 U=unknown F=0x0 UT=0"}));
    EXPECT_EQ(run.status(), 5903);
    EXPECT_EQ(run.exit_status(), 252);
}

TEST_F(PeerVerification, LooksNamesUpInTheHostsOwnSources) {
    write_file("/etc/nsswitch.conf", "hosts: files myhostname\n");
    trust({"anything.localhost"});
    check({"", {}, listed_root}, run_agent({"FETCHFILE"}));
    write_file("/etc/nsswitch.conf", "hosts: files dns\n");
}

TEST_F(PeerVerification, GivesTheLookUpNoConnection) {
    const StandInGetent stand_in("ls -l /proc/$$/fd >/tmp/descriptors &\nwait\n");
    trust({"elsewhere.example.test"});
    AgentOptions old_kernel;
    old_kernel.refused_calls = {{SYS_close_range, ENOSYS}};
    for (const AgentOptions& options : {AgentOptions(), old_kernel}) {
        remove_tree("/tmp/descriptors");
        expect_refused(run_agent({"FETCHFILE"}, options), 5762);
        EXPECT_THAT(read_file("/tmp/descriptors"), testing::HasSubstr(" 1 -> pipe:"));
        EXPECT_THAT(read_file("/tmp/descriptors"), Not(testing::HasSubstr("socket:")));
    }
}

TEST_F(PeerVerification, LooksAtTheHostBeforeTheUser) {
    trust({});
    AgentOptions options;
    options.user = 1000;
    const AgentRun run = run_agent({"FETCHFILE"}, options);
    EXPECT_THAT(run.log, LogHas({4, "xnet_verify_peer_creds", "H=local P=0 U=1000 F=0x0 UT=2"}));
    EXPECT_THAT(run.log, LogHas({16, "setup_comms_w_client", "peer not in SERVER list"}));
    expect_refused(run, 5762);
}

TEST_F(PeerVerification, ReadsNothingOfTheRequestOfARefusedPeer) {
    trust({});
    const AgentRun run = run_agent({"FETCHFILE"});
    EXPECT_THAT(run.log, Not(LogHas({4, "receive_inputs_from_client", "string from peer C=FETCHFILE"})));
}

}  // namespace
