// The start of the agent, the order of its steps and its exit statuses.
#include <fcntl.h>
#include <sys/socket.h>

#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

const std::string log_folder = logs_folder + "/zmlogadmagent";

struct EarlyEnd {
    std::string name;
    std::vector<int> closed;
    std::optional<rlim_t> descriptor_limit;
    int exit_status = 0;
};

std::ostream& operator<<(std::ostream& out, const EarlyEnd& end) {
    return out << end.name;
}

class AgentStartWithoutDescriptors : public testing::TestWithParam<EarlyEnd> {};

TEST_P(AgentStartWithoutDescriptors, EndsSilently) {
    make_product_tree();
    AgentOptions options;
    options.closed = GetParam().closed;
    options.descriptor_limit = GetParam().descriptor_limit;
    const AgentRun run = run_agent({"FETCHFILE"}, options);
    EXPECT_EQ(run.exit_status(), GetParam().exit_status);
    EXPECT_EQ(run.received, "");
    EXPECT_FALSE(exists(log_folder));
}

// With descriptor 0 closed, "/dev/null" becomes descriptor 0 while 1 is redirected. The agent accepts that.
INSTANTIATE_TEST_SUITE_P(
    , AgentStartWithoutDescriptors,
    testing::Values(EarlyEnd{"StandardOutputClosed", {1}, {}, 11}, EarlyEnd{"StandardErrorClosed", {2}, {}, 12},
                    EarlyEnd{"OutputAndErrorClosed", {1, 2}, {}, 11}, EarlyEnd{"SocketClosed", {0}, {}, 17},
                    EarlyEnd{"SocketAndOutputClosed", {0, 1}, {}, 17}, EarlyEnd{"AllClosed", {0, 1, 2}, {}, 17},
                    EarlyEnd{"NoDescriptorLeftForTheLastRedirection", {}, 4, 18}),
    name_of_row);

class AgentStart : public ProductTest {};

TEST_F(AgentStart, GoesThroughItsStepsInOrder) {
    const AgentRun run = run_agent({"FETCHFILE", "a file"});
    EXPECT_EQ(run.exit_status(), 0);
    const std::string line = run.status_line();
    const std::string length = std::to_string(line.size());
    const std::string logged = line.substr(0, line.size() - 1) + "\\n";
    EXPECT_THAT(run.log, LogIs({
                             {information, "xnet_verify_peer_creds", "H=local P=0 U=root F=0x42 UT=2"},
                             {information, "setup_comms_w_client", "verified credentials of peer"},
                             {information, "receive_inputs_from_client", "string from peer C=FETCHFILE"},
                             {information, "receive_inputs_from_client", "string from peer C=a file"},
                             {information, "process_request", "processing request R=FETCHFILE"},
                             {information, "is_cmd_valid", "command is valid C=FETCHFILE"},
                             {error, "perform_request_send_output", "Command FETCHFILE is not supported"},
                             {information, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=0"},
                             {information, "socksend", "sent installment #1: " + length + " of " + length},
                             {information, "socksend", "sent M=" + logged + " L=" + length + ", " + length},
                         }));
}

TEST_F(AgentStart, SendsNothingWithoutAMainConfiguration) {
    remove_tree(main_configuration);
    const AgentRun run = run_agent({"FETCHFILE"});
    EXPECT_EQ(run.received, "");
    EXPECT_EQ(run.exit_status(), 252);
    EXPECT_THAT(run.log, LogIs({{error, "zmlogadmagent", "failed to read qr.conf SC=<digits>"}}));
}

TEST_F(AgentStart, SendsNothingWhenTheMainConfigurationIsAFolder) {
    remove_tree(main_configuration);
    make_folder(main_configuration);
    const AgentRun run = run_agent({"FETCHFILE"});
    EXPECT_EQ(run.received, "");
    EXPECT_EQ(run.exit_status(), 252);
    EXPECT_THAT(run.log, LogIs({{error, "zmlogadmagent", "failed to read qr.conf SC=<digits>"}}));
}

TEST_F(AgentStart, SetsTheFileCreationMask) {
    install_tool(zmsu_tool, {stand_in::run("umask")});
    AgentOptions options;
    options.creation_mask = 0077;
    EXPECT_EQ(run_agent({"zmsu"}, options).output(), "0022\n\n");
}

TEST_F(AgentStart, PerformsTheRequestWithoutADebugLog) {
    remove_tree(logs_folder);
    const AgentRun run = run_agent({"GETDISKSPACE", "/no/such"});
    EXPECT_EQ(run.status(), 5784);
    EXPECT_THAT(run.log, LogIs({}));
    EXPECT_FALSE(exists(logs_folder));
}

TEST_F(AgentStart, ServesOneRequestOnly) {
    const AgentRun run = run_agent_with_bytes(netstrings({"FETCHFILE"}) + netstrings({"CLEANUP", "x"}));
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, Not(LogHas({information, "receive_inputs_from_client", "string from peer C=CLEANUP"})));
}

TEST_F(AgentStart, ReportsAConnectionThatCannotBeExamined) {
    write_file("/tmp/no_socket", "");
    ConnectedSockets sockets = connect_locally();
    sockets.agent_end.reset(open("/tmp/no_socket", O_RDWR | O_CLOEXEC));
    Agent agent(std::move(sockets), {});
    const AgentRun run = agent.finish();

    AgentRun sent;
    sent.received = read_file("/tmp/no_socket");
    const int status = sent.status();
    EXPECT_EQ(sent.output(), "");
    EXPECT_NE(status, 0);
    EXPECT_EQ(run.exit_status(), status < 255 ? status : 252);
    const std::string code = std::to_string(status);
    const std::string text = sent.received.substr(("EXIT STATUS " + code + " ").size());
    EXPECT_THAT(run.log,
                LogHas({error, "setup_comms_w_client",
                        "failed to accept connection SC=" + code + " (" + text.substr(0, text.size() - 1) + ")"}));
    EXPECT_THAT(run.log, LogHas({error, "zmlogadmagent", "client communication setup failed SC=" + code}));
    EXPECT_THAT(run.log, Not(LogHas({information, "setup_comms_w_client", "verified credentials of peer"})));
}

TEST_F(AgentStart, SendsNothingOverASocketThatIsNotConnected) {
    ConnectedSockets sockets = connect_locally();
    sockets.agent_end.reset(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    Agent agent(std::move(sockets), {});
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.received, "");
    EXPECT_EQ(run.exit_status(), 252);
    EXPECT_THAT(run.log, LogHas({error, "zmlogadmagent", "client communication setup failed SC=<digits>"}));
}

TEST_F(AgentStart, RejectsAnUnknownWordWithAStatusLine) {
    const AgentRun run = run_agent({"FETCHFILES"});
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 5764);
    EXPECT_EQ(run.exit_status(), 5764 & 0xff);
    EXPECT_THAT(run.log, LogHas({error, "is_cmd_valid", "command is not valid C=FETCHFILES RV=5764"}));
    EXPECT_THAT(run.log, LogHas({information, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=5764"}));
    EXPECT_THAT(run.request_log(), LogIs({}));
}

TEST_F(AgentStart, EndsWithTheStatusOfAPerformedRequest) {
    const AgentRun run = run_agent({"GETDISKSPACE", "/no/such"});
    EXPECT_EQ(run.status(), 5784);
    EXPECT_EQ(run.exit_status(), 152);
}

TEST_F(AgentStart, EndsWith252ForARejectedPeer) {
    write_file(main_configuration, "SERVER = elsewhere.example.test\n");
    const AgentRun run = run_agent({"FETCHFILE"});
    EXPECT_EQ(run.status(), 5762);
    EXPECT_EQ(run.exit_status(), 252);
}

TEST_F(AgentStart, HasATextOfItsOwnForEachStatus) {
    write_file(main_configuration, "SERVER = elsewhere.example.test\n");
    const std::string rejected = run_agent({"FETCHFILE"}).status_line();
    write_file(main_configuration, "SERVER = localhost\n");
    const std::string unknown_word = run_agent({"NOWORD"}).status_line();
    const std::string no_directory = run_agent({"GETDISKSPACE", "/no/such"}).status_line();
    const std::string not_received = run_agent_with_bytes("1:0,").status_line();
    EXPECT_THAT(rejected, IsPattern("EXIT STATUS 5762 <text>\n"));
    EXPECT_THAT(unknown_word, IsPattern("EXIT STATUS 5764 <text>\n"));
    EXPECT_THAT(no_directory, IsPattern("EXIT STATUS 5784 <text>\n"));
    EXPECT_THAT(not_received, IsPattern("EXIT STATUS 5763 <text>\n"));
    const auto text_of = [](const std::string& line) { return line.substr(line.find(' ', 12)); };
    const std::set<std::string> texts = {text_of(rejected), text_of(unknown_word), text_of(no_directory),
                                         text_of(not_received)};
    EXPECT_EQ(texts.size(), 4U);
}

}  // namespace
