// Verification of the peer: the agent serves root of listed hosts only.
#include <sys/socket.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>

#include "tests/end_to_end/peer_case.h"
#include "tests/support/agent_runner.h"
#include "tests/support/foreign_host.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/replaced_file.h"
#include "tests/support/request_case.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

class LocalPeer : public testing::TestWithParam<PeerCase> {};

TEST_P(LocalPeer, IsComparedWithTheServerList) {
    make_product_tree();
    name_hosts();
    trust(GetParam().servers);
    check(GetParam(), run_agent({"FETCHFILE"}));
}

INSTANTIATE_TEST_SUITE_P(
    , LocalPeer,
    testing::Values(PeerCase{"Localhost", {"localhost"}, listed_root},
                    PeerCase{"LocalhostInUpperCase", {"LOCALHOST"}, listed_root},
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
                    PeerCase{"UnknownName", {"elsewhere.example.test"}, unlisted_root, 5762},
                    PeerCase{"EmptyEntry", {""}, unlisted_root, 5762}, PeerCase{"NoEntry", {}, unlisted_root, 5762}),
    name_of_row);

struct ServerLine {
    std::string name;
    std::string configuration;
    int status = 0;
};

std::ostream& operator<<(std::ostream& out, const ServerLine& line) {
    return out << line.name;
}

class ServerList : public testing::TestWithParam<ServerLine> {};

TEST_P(ServerList, IsReadFromTheMainConfiguration) {
    make_product_tree();
    write_file(main_configuration, GetParam().configuration);
    EXPECT_EQ(run_agent({"FETCHFILE"}).status(), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    , ServerList,
    testing::Values(
        ServerLine{"NoSpaces", "SERVER=localhost\n"}, ServerLine{"ManySpaces", " \tSERVER \t= \t localhost \t\n"},
        ServerLine{"CarriageReturn", "SERVER = localhost\r\n"}, ServerLine{"NoNewline", "SERVER = localhost"},
        ServerLine{"KeyInLowerCase", "server = localhost\n"}, ServerLine{"KeyInMixedCase", "Server = localhost\n"},
        ServerLine{"BelowOtherLines", "# remark\n\nVERBOSE = 5\nnonsense\n= x\nSERVER = localhost\n"},
        ServerLine{"LastOfMany", "SERVER = a.example.test\nVERBOSE = 5\nSERVER = b.example.test\nSERVER = localhost\n"},
        ServerLine{"EmptyFile", "", 5762}, ServerLine{"Comment", "#SERVER = localhost\n", 5762},
        ServerLine{"CommentAfterSpaces", "  # SERVER = localhost\n", 5762},
        ServerLine{"NoEqualsSign", "SERVER localhost\n", 5762}, ServerLine{"AnotherKey", "SERVERS = localhost\n", 5762},
        ServerLine{"SpaceInTheKey", "SER VER = localhost\n", 5762},
        ServerLine{"TwoHostsOnOneLine", "SERVER = localhost elsewhere\n", 5762},
        ServerLine{"CommentAfterTheHost", "SERVER = localhost # this host\n", 5762}),
    name_of_row);

class PeerVerification : public ProductTest {};

TEST_F(PeerVerification, AcceptsThisHostWhenTheListHasItsAddressOnTheNetwork) {
    name_hosts();
    const ForeignHost host;
    trust({"cable.example.test"});
    check({"", {}, listed_root}, run_agent({"FETCHFILE"}));
}

TEST_F(PeerVerification, ReportsThatThePeersHostIsNotListed) {
    trust({});
    const AgentRun run = run_agent({"FETCHFILE"});
    const std::string length = std::to_string(run.received.size());
    EXPECT_THAT(run.log, LogIs({
                             {information, "xnet_verify_peer_creds", unlisted_root},
                             {error, "setup_comms_w_client", "peer not in SERVER list"},
                             {error, "zmlogadmagent", "client communication setup failed SC=5762"},
                             {information, "socksend", "sent installment #1: " + length + " of " + length},
                             {information, "socksend", "sent M=<text> L=" + length + ", " + length},
                         }));
}

TEST_F(PeerVerification, ReportsThatThePeersUserIsNotRoot) {
    AgentOptions options;
    options.user = 1000;
    const AgentRun run = run_agent({"FETCHFILE"}, options);
    EXPECT_THAT(run.log, LogHas({information, "xnet_verify_peer_creds", "H=local P=0 U=1000 F=0x2 UT=2"}));
    EXPECT_THAT(run.log, LogHas({error, "setup_comms_w_client", "peer is not root user"}));
    expect_rejected(run, 135);
}

TEST_F(PeerVerification, ReportsAConnectionThatIsNotAStream) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    Agent agent({Descriptor(ends[0]), Descriptor(ends[1])}, {});
    const AgentRun run = agent.finish();
    EXPECT_THAT(run.log, LogHas({information, "xnet_verify_peer_creds", "H=local P=0 U=unknown F=0x0 UT=0"}));
    EXPECT_EQ(run.status(), 5903);
    EXPECT_EQ(run.exit_status(), 252);
}

TEST_F(PeerVerification, LooksNamesUpInTheSourcesOfTheHost) {
    write_file("/etc/nsswitch.conf", "hosts: files myhostname\n");
    trust({"anything.localhost"});
    check({"", {}, listed_root}, run_agent({"FETCHFILE"}));
    write_file("/etc/nsswitch.conf", "hosts: files dns\n");
}

TEST_F(PeerVerification, KeepsTheConnectionFromTheLookUp) {
    const StandInGetent stand_in("ls -l /proc/$$/fd >/tmp/descriptors &\nwait\n");
    trust({"elsewhere.example.test"});
    AgentOptions old_kernel;
    old_kernel.refused_calls = {{SYS_close_range, ENOSYS}};
    for (const AgentOptions& options : {AgentOptions(), old_kernel}) {
        remove_tree("/tmp/descriptors");
        expect_rejected(run_agent({"FETCHFILE"}, options), 5762);
        EXPECT_THAT(read_file("/tmp/descriptors"), testing::HasSubstr(" 1 -> pipe:"));
        EXPECT_THAT(read_file("/tmp/descriptors"), Not(testing::HasSubstr("socket:")));
    }
}

TEST_F(PeerVerification, ChecksTheHostBeforeTheUser) {
    trust({});
    AgentOptions options;
    options.user = 1000;
    const AgentRun run = run_agent({"FETCHFILE"}, options);
    EXPECT_THAT(run.log, LogHas({information, "xnet_verify_peer_creds", "H=local P=0 U=1000 F=0x0 UT=2"}));
    EXPECT_THAT(run.log, LogHas({error, "setup_comms_w_client", "peer not in SERVER list"}));
    expect_rejected(run, 5762);
}

TEST_F(PeerVerification, ReadsNoRequestOfARejectedPeer) {
    trust({});
    const AgentRun run = run_agent({"FETCHFILE"});
    EXPECT_THAT(run.log, Not(LogHas({information, "receive_inputs_from_client", "string from peer C=FETCHFILE"})));
}

}  // namespace
