// The advice of the command, for each cause that it knows.
#include "request_command/hints.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_sockets.h"
#include "tests/support/foreign_host.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

const Peer this_host = AgentFile();
const Peer local_socket = LocalSocket{.path = "/run/zmlogadmagent.socket"};
const Peer other_host = RemoteHost{.name = "backup7"};

Options request_to(const Peer& peer, const std::vector<std::string>& words = {"CLEANUP", "/a"}) {
    Options options;
    options.peer = peer;
    options.request = words;
    return options;
}

const Asker root_here = {.is_root = true, .is_on_agents_host = true, .address = ""};
const Asker root_elsewhere = {.is_root = true, .is_on_agents_host = false, .address = "192.0.2.1"};
const Asker user_elsewhere = {.is_root = false, .is_on_agents_host = false, .address = "192.0.2.1"};

TEST(Hints, ShowTheLineThatListsThisHost) {
    for (const Peer& peer : {this_host, local_socket}) {
        EXPECT_EQ(hint_about_status(5762, request_to(peer), root_here),
                  "qr.conf does not list this host; run: printf '\\nSERVER = localhost\\n' | sudo tee --append "
                  "/usr/kumel/zembrath/qr.conf");
    }
    EXPECT_EQ(hint_about_status(5762, request_to(other_host), root_elsewhere),
              "qr.conf does not list this host; on backup7: printf '\\nSERVER = 192.0.2.1\\n' | sudo tee --append "
              "/usr/kumel/zembrath/qr.conf");
    EXPECT_THAT(hint_about_status(5762, request_to(other_host), root_here), HasSubstr("SERVER = localhost"));
}

TEST(Hints, ShowHowToAskAsRoot) {
    EXPECT_THAT(hint_about_status(135, request_to(other_host), user_elsewhere), HasSubstr("sudo"));
    EXPECT_THAT(hint_about_status(135, request_to(other_host), root_elsewhere),
                EndsWith("ssh root@backup7 zmlogadm --local CLEANUP /a"));
    EXPECT_THAT(hint_about_status(135, request_to(this_host), root_here), HasSubstr("container"));
}

TEST(Hints, SayThatTheStatusMayBeTheToolsOwn) {
    EXPECT_EQ(hint_about_status(135, request_to(other_host, {"zmsu", "-help"}), root_elsewhere),
              "the source port changed on the way to backup7, or 135 is the tool's own exit status; ask over SSH: ssh "
              "root@backup7 zmlogadm --local zmsu -help");
    EXPECT_THAT(hint_about_status(135, request_to(this_host, {"zmsu"}), root_here),
                HasSubstr("or 135 is the tool's own exit status"));
}

// The remote shell would read such arguments in another way.
TEST(Hints, LeaveOutArgumentsThatAShellWouldChange) {
    for (const std::string argument : {"/a b", "/$(id)", "'", "", "/*", "\x1b", "~"}) {
        EXPECT_THAT(hint_about_status(135, request_to(other_host, {"CLEANUP", argument}), root_elsewhere),
                    EndsWith("ssh root@backup7 zmlogadm --local CLEANUP ..."))
            << argument;
    }
}

TEST(Hints, NameTheToolThatCouldNotBeExecuted) {
    for (const auto& [word, file] :
         std::vector<std::pair<std::string, std::string>>{{"zmsu", "support/old_zmsu"},
                                                          {"RUNZMSU", "support/old_zmsu"},
                                                          {"zmcplogs", "support/zmcplogs"},
                                                          {"RUNZMCPLOGS", "support/zmcplogs"},
                                                          {"CALCLOGSIZE", "support/zmcplogs"},
                                                          {"versioninfo", "goodies/support/versioninfo"},
                                                          {"ktlogcfg", "private/ktlogcfg"},
                                                          {"ZMLA", "support/zmlogadm"}}) {
        EXPECT_THAT(hint_about_status(29, request_to(other_host, {word}), root_elsewhere),
                    EndsWith("on backup7: ls -l /usr/kumel/zembrath/bin/" + file));
    }
    EXPECT_EQ(hint_about_status(29, request_to(this_host, {"another"}), root_here), "");
}

TEST(Hints, NameTheStoresOfTheRequest) {
    EXPECT_THAT(hint_about_status(5772, request_to(this_host, {"ENABLELOGGING", "QPKTUL:1", "VMCONF:a", "ZMKTUL:1"}),
                                  root_here),
                EndsWith("run: cat /usr/kumel/ktul/51216.conf /usr/kumel/ktul/58330.conf"));
    EXPECT_THAT(hint_about_status(5772, request_to(this_host, {"ENABLELOGGING", "SEARCHKTUL:1"}), root_here),
                EndsWith("cat /usr/kumel/ktul/60385.conf"));
}

TEST(Hints, AreEmptyForOtherStatuses) {
    for (const int status : {0, 1, 23, 27, 252, 5764, 5784, 5822}) {
        EXPECT_EQ(hint_about_status(status, request_to(other_host), root_elsewhere), "") << status;
    }
}

TEST(Hints, ShowWhatToStartWhenNobodyListens) {
    EXPECT_EQ(hint_about_failure(FailureCode::connection_refused, request_to(other_host)),
              "nothing listens there; on backup7: sudo systemctl enable --now zmlogadmagent-tcp.socket");
    EXPECT_EQ(hint_about_failure(FailureCode::connection_refused, request_to(local_socket)),
              "nothing listens there; run: sudo systemctl enable --now zmlogadmagent.socket");
}

TEST(Hints, ShowTheLogsOfAnAgentThatSentNoStatus) {
    EXPECT_EQ(hint_about_failure(FailureCode::no_status, request_to(other_host)),
              "the agent may have logged the reason; on backup7: sudo journalctl --unit 'zmlogadmagent*'; sudo tail "
              "/usr/kumel/zembrath/logs/zmlogadmagent/log.*");
    EXPECT_EQ(hint_about_failure(FailureCode::no_status, request_to(this_host)),
              "the agent may have logged the reason; run: sudo tail /usr/kumel/zembrath/logs/zmlogadmagent/log.*");
}

TEST(Hints, AreEmptyForOtherFailures) {
    EXPECT_EQ(hint_about_failure(FailureCode::lookup_failed, request_to(other_host)), "");
    EXPECT_EQ(hint_about_failure(FailureCode::invalid_arguments, request_to(other_host)), "");
}

TEST(Hints, ShowNoControlCharacters) {
    const Peer peer = RemoteHost{.name = "a\x1b[2J"};
    EXPECT_THAT(hint_about_failure(FailureCode::connection_refused, request_to(peer)), HasSubstr("on a\\x1b[2J: "));
}

TEST(AskerOf, ReportsTheAgentsHostOverAUnixSocket) {
    const ConnectedSockets local = connect_locally();
    EXPECT_TRUE(asker_of(local.peer_end.get()).is_on_agents_host);
    EXPECT_EQ(asker_of(local.peer_end.get()).is_root, geteuid() == 0);
}

TEST(AskerOf, ReportsTheAgentsHostOverLoopback) {
    EXPECT_TRUE(asker_of(connect_over_tcp({}).peer_end.get()).is_on_agents_host);
    EXPECT_TRUE(asker_of(connect_over_tcp({.peer = "127.0.0.5"}).peer_end.get()).is_on_agents_host);
    EXPECT_TRUE(asker_of(connect_over_tcp({.listener = "::1", .server = "::1", .peer = "::1"}).peer_end.get())
                    .is_on_agents_host);
}

TEST(AskerOf, ReportsTheAddressThatAnotherHostSees) {
    const ForeignHost host;
    const ConnectedSockets ipv4 =
        host.connect({.listener = ForeignHost::own_ipv4, .server = ForeignHost::own_ipv4, .peer = ForeignHost::ipv4});
    EXPECT_FALSE(asker_of(ipv4.agent_end.get()).is_on_agents_host);
    EXPECT_EQ(asker_of(ipv4.agent_end.get()).address, ForeignHost::own_ipv4);
    const ConnectedSockets ipv6 =
        host.connect({.listener = ForeignHost::own_ipv6, .server = ForeignHost::own_ipv6, .peer = ForeignHost::ipv6});
    EXPECT_EQ(asker_of(ipv6.agent_end.get()).address, ForeignHost::own_ipv6);
}

}  // namespace
