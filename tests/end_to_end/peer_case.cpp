#include "tests/end_to_end/peer_case.h"

#include "tests/support/log_matchers.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

void expect_verified(const AgentRun& run) {
    EXPECT_THAT(run.log, LogHas({information, "setup_comms_w_client", "verified credentials of peer"}));
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.exit_status(), 0);
}

}  // namespace

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

std::ostream& operator<<(std::ostream& out, const PeerCase& peer) {
    return out << peer.name;
}

void expect_rejected(const AgentRun& run, int status) {
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.received, run.status_line());
    EXPECT_EQ(run.received.find('\n'), run.received.size() - 1);
    EXPECT_EQ(run.status(), status);
    EXPECT_EQ(run.exit_status(), status == 5762 ? 252 : status);
    EXPECT_THAT(run.log,
                LogHas({error, "zmlogadmagent", "client communication setup failed SC=" + std::to_string(status)}));
    EXPECT_THAT(run.log, Not(LogHas({information, "setup_comms_w_client", "verified credentials of peer"})));
}

void check(const PeerCase& peer, const AgentRun& run) {
    EXPECT_THAT(run.log, testing::Contains(IsLine(LogLine{information, "xnet_verify_peer_creds", peer.seen})).Times(1));
    if (peer.status == 0) {
        expect_verified(run);
    } else {
        expect_rejected(run, peer.status);
    }
}
