// Answers to peers that do not read and to peers that have closed the connection.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"

namespace {

using log_level::error;
using log_level::information;
using log_level::warning;

class ResponseChannel : public ProductTest {};

// Fills the buffer of the socket without waiting for the peer.
const std::string fill_socket = "dd if=/dev/zero bs=65536 count=1000 oflag=nonblock 2>/dev/null";

std::string busy_retry(int attempt, std::size_t length) {
    return "sleep, retry I=" + std::to_string(attempt) + " L=" + std::to_string(length) + " FD=3 E=11 " +
           strerror(EAGAIN);
}

TEST_F(ResponseChannel, WaitsForAPeerThatDoesNotRead) {
    install_tool(zmsu_tool, {stand_in::run(fill_socket), stand_in::exit_with(0)});
    Agent agent;
    agent.send(Request{"zmsu"});
    agent.await_log("sleep, retry I=3 ");
    const AgentRun run = agent.finish();
    const std::string output = run.output();
    ASSERT_FALSE(output.empty());
    EXPECT_EQ(output, std::string(output.size() - 1, '\0') + "\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({warning, "socksend", busy_retry(1, 1)}));
    EXPECT_THAT(run.log, LogHas({warning, "socksend", busy_retry(2, 1)}));
    EXPECT_THAT(run.log, LogHas({information, "socksend", "sent installment #<digits>: 1 of 1"}));
    EXPECT_THAT(run.log, LogHas({information, "socksend", "sent M=\\n L=1, 1"}));
}

// A tool that leaves files with long names, numbered from 10000.
void install_tool_that_leaves(int files) {
    install_tool(zmsu_tool,
                 {stand_in::run("mkdir -p \"$last\"; cd \"$last\"; number=10000\n"
                                "name=" +
                                std::string(200, 'x') + "\nwhile [ $number -lt " + std::to_string(10000 + files) +
                                " ]; do : > $name$number; number=$((number + 1)); done")});
}

// Without a larger buffer, a local socket would hold half as many lines.
TEST_F(ResponseChannel, ListsManyFilesToAPeerThatDoesNotReadMeanwhile) {
    install_tool_that_leaves(400);
    Agent agent;
    agent.send(Request{"RUNZMSU", "--collectdir", "/tmp/c"});
    agent.await_log("closing peer");
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, Not(LogHas({warning, "socksend", "sleep, retry <text>"})));
}

TEST_F(ResponseChannel, SendsTheRestWhenABusyPeerReadsAgain) {
    constexpr int files = 15'000;
    install_tool_that_leaves(files);
    Agent agent;
    agent.send(Request{"RUNZMSU", "--collectdir", "/tmp/c"});
    agent.await_log("sleep, retry");
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.status(), 0);
    std::istringstream output(run.output());
    std::string line;
    std::getline(output, line);
    EXPECT_EQ(line, "");
    std::vector<int> numbers;
    while (std::getline(output, line)) {
        ASSERT_THAT(line, IsPattern("ZMSU PACKAGE=/tmp/c/<temporary>/" + std::string(200, 'x') + "<digits>"));
        numbers.push_back(std::stoi(line.substr(line.size() - 5)));
    }
    std::sort(numbers.begin(), numbers.end());
    ASSERT_EQ(numbers.size(), static_cast<std::size_t>(files));
    EXPECT_EQ(numbers.front(), 10000);
    EXPECT_EQ(numbers.back(), 10000 + files - 1);
    EXPECT_EQ(std::adjacent_find(numbers.begin(), numbers.end()), numbers.end());
}

TEST_F(ResponseChannel, GivesUpOnAPeerThatHasClosed) {
    const AgentRun run = run_agent_without_peer({"CLEANUP", "x"});
    const std::string answer = "CLEANUP: Will not clean up unknown location: x\n";
    EXPECT_THAT(run.log, LogHas({error, "socksend",
                                 "send failed, fatal I=1 M=" + answer.substr(0, answer.size() - 1) +
                                     "\\n L=" + std::to_string(answer.size()) + " FD=3 E=32 " + strerror(EPIPE)}));
    EXPECT_EQ(run.exit_status(), 5796 & 0xff);
}

TEST_F(ResponseChannel, TriesToSendTheStatusLineAfterAFailedAnswer) {
    const AgentRun run = run_agent_without_peer({"GETDISKSPACE", "/"});
    EXPECT_THAT(run.log, LogHas({information, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=5796"}));
    EXPECT_THAT(run.log.back(),
                IsLine(LogLine{error, "socksend",
                               "send failed, fatal I=1 M=EXIT STATUS 5796 <text>\\n L=<digits> FD=3 E=32 " +
                                   std::string(strerror(EPIPE))}));
}

TEST_F(ResponseChannel, DoesNotEndTheAgentByASignal) {
    const AgentRun run = run_agent_without_peer({"FETCHFILE"});
    EXPECT_EQ(run.exit_status(), 0);
    EXPECT_THAT(run.log, LogHas({information, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=0"}));
}

TEST_F(ResponseChannel, LogsTheInstallmentsOfALine) {
    const AgentRun run = run_agent({"CLEANUP", "x"});
    const std::string answer = "CLEANUP: Will not clean up unknown location: x";
    const std::string length = std::to_string(answer.size() + 1);
    EXPECT_THAT(run.log, LogHas({information, "socksend", "sent installment #1: " + length + " of " + length}));
    EXPECT_THAT(run.log, LogHas({information, "socksend", "sent M=" + answer + "\\n L=" + length + ", " + length}));
}

TEST_F(ResponseChannel, ReturnsBytesOfTheRequestUnchanged) {
    const std::string bytes = "\x01\x7f\xc8%s\n\\";
    EXPECT_EQ(run_agent({"CLEANUP", bytes}).output(), "CLEANUP: Will not clean up unknown location: " + bytes + "\n");
}

}  // namespace
