// The status of a request that runs a tool, by how the tool ends or why it cannot run.
#include <fcntl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tests/end_to_end/tool_messages.h"
#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/refused_calls.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

using log_level::detail;
using log_level::error;
using log_level::information;

constexpr const char* tag = "execute_cmd_send_output";

class ToolExitStatus : public testing::TestWithParam<int> {};

TEST_P(ToolExitStatus, BecomesTheStatusOfTheRequest) {
    make_product_tree();
    install_tool(zmsu_tool, {stand_in::print("output"), stand_in::exit_with(GetParam())});
    const AgentRun run = run_agent({"zmsu"});
    EXPECT_EQ(run.output(), "output\n");
    EXPECT_EQ(run.status(), GetParam());
    EXPECT_EQ(run.exit_status(), GetParam());
    EXPECT_THAT(run.request_log(), LogIs(messages_of_run("zmsu", zmsu_tool, {.code = GetParam()})));
}

INSTANTIATE_TEST_SUITE_P(, ToolExitStatus, testing::Values(0, 1, 3, 23, 127, 255),
                         [](const auto& status) { return "ExitStatus" + std::to_string(status.param); });

struct Signal {
    std::string name;
    int number = 0;
};

std::ostream& operator<<(std::ostream& out, const Signal& signal) {
    return out << signal.name;
}

class ToolSignal : public testing::TestWithParam<Signal> {};

TEST_P(ToolSignal, GivesStatus27) {
    const auto& [name, number] = GetParam();
    make_product_tree();
    install_tool(zmsu_tool, {stand_in::print("output"), stand_in::die_of(name)});
    const AgentRun run = run_agent({"zmsu"});
    EXPECT_EQ(run.output(), "output\n");
    EXPECT_EQ(run.status(), 27);
    EXPECT_EQ(run.exit_status(), 27);
    EXPECT_THAT(run.request_log(), LogIs(messages_of_run("zmsu", zmsu_tool, {.code = 27, .signal = number})));
}

INSTANTIATE_TEST_SUITE_P(, ToolSignal,
                         testing::Values(Signal{"TERM", SIGTERM}, Signal{"KILL", SIGKILL}, Signal{"ABRT", SIGABRT}),
                         [](const auto& signal) { return "Sig" + signal.param.name; });

class ToolStatus : public ProductTest {};

void expect_not_executed(const AgentRun& run) {
    EXPECT_EQ(run.output(), "\n");
    EXPECT_EQ(run.status(), 29);
    EXPECT_EQ(run.exit_status(), 29);
    EXPECT_THAT(run.request_log(), LogIs(messages_of_run("zmsu", zmsu_tool, {.code = 29})));
    EXPECT_THAT(run.child_log().back(), IsLine(LogLine{error, tag, "execvp() failed C=" + zmsu_tool + " EC=-1"}));
}

TEST_F(ToolStatus, Is29WhenTheToolIsMissing) {
    expect_not_executed(run_agent({"zmsu"}));
}

TEST_F(ToolStatus, Is29WhenTheToolMayNotBeExecuted) {
    write_file(zmsu_tool, "#!/bin/sh\n");
    expect_not_executed(run_agent({"zmsu"}));
}

TEST_F(ToolStatus, Is29WhenTheToolIsAFolder) {
    make_folder(zmsu_tool);
    expect_not_executed(run_agent({"zmsu"}));
}

// A request with that many elements: the word and numbers.
Request request_of(std::size_t elements) {
    Request request = {"zmsu"};
    for (std::size_t i = 1; i < elements; ++i) {
        request.push_back(std::to_string(i));
    }
    return request;
}

TEST_F(ToolStatus, IsZeroWith510Elements) {
    install_tool(zmsu_tool, {stand_in::run("echo $# $1 $last")});
    const AgentRun run = run_agent(request_of(510));
    EXPECT_EQ(run.output(), "509 1 509\n\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.child_log().back(), IsLine(LogLine{information, "setup_execvp_argv", "adding arg A=509 I=510"}));
}

TEST_F(ToolStatus, Is29With511ElementsAndNothingRuns) {
    install_tool(zmsu_tool, {stand_in::print("ran")});
    const AgentRun run = run_agent(request_of(511));
    EXPECT_EQ(run.output(), "\n");
    EXPECT_EQ(run.status(), 29);
    EXPECT_THAT(run.child_log(),
                LogHas({information, "setup_execvp_argv", "input C=" + zmsu_tool + ", #ARGS=511, MAX ARGV SLOTS=512"}));
    EXPECT_THAT(run.child_log(), LogHas({error, "setup_execvp_argv", "Not enough argv slots. #ARGS=511 SLOTS=512"}));
    EXPECT_THAT(run.child_log(), Not(LogHas({information, "setup_execvp_argv", "adding arg A=1 I=2"})));
}

TEST_F(ToolStatus, Is23WhenThePeerHasClosed) {
    install_tool(zmsu_tool, {stand_in::print("ready"), stand_in::await_end_of_input(), stand_in::exit_with(3)});
    Agent agent;
    agent.send(Request{"zmsu"});
    agent.receive_until("ready");
    agent.close_peer();
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.exit_status(), 23);
    EXPECT_THAT(run.log, LogHas({information, tag, "child process exited CEC=3 C=" + zmsu_tool}));
    EXPECT_THAT(run.log, LogHas({detail, tag, "recv return value=0 ERRNO=0 (Success)"}));
    EXPECT_THAT(run.log, LogHas({error, tag, "Peer socket is closed NSC=0"}));
    EXPECT_THAT(run.log, LogHas({information, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=23"}));
}

TEST_F(ToolStatus, Is23WhenThePeerHasStoppedSending) {
    install_tool(zmsu_tool, {stand_in::await_end_of_input()});
    Agent agent;
    agent.send(Request{"zmsu"});
    agent.stop_sending();
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 23);
}

TEST_F(ToolStatus, Is23WhenThePeerSentMoreThanTheToolRead) {
    install_tool(zmsu_tool, {stand_in::print("output")});
    const AgentRun run = run_agent_with_bytes(netstrings({"zmsu"}) + "x");
    EXPECT_EQ(run.output(), "output");
    EXPECT_EQ(run.status(), 23);
    EXPECT_THAT(run.log, LogHas({detail, tag, "recv return value=1 ERRNO=0 (Success)"}));
    EXPECT_THAT(run.log, LogHas({error, tag, "Peer socket is closed NSC=1"}));
}

struct FailedCall {
    std::string name;
    std::vector<RefusedCall> calls;
    int status = 0;
    LogLine message;
};

std::ostream& operator<<(std::ostream& out, const FailedCall& call) {
    return out << call.name;
}

class FailedCallOfTheAgent : public testing::TestWithParam<FailedCall> {};

TEST_P(FailedCallOfTheAgent, GivesAStatusOfItsOwn) {
    make_product_tree();
    install_tool(zmsu_tool, {});
    AgentOptions options;
    options.refused_calls = GetParam().calls;
    const AgentRun run = run_agent({"zmsu"}, options);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), GetParam().status);
    EXPECT_EQ(run.exit_status(), GetParam().status & 0xff);
    EXPECT_THAT(run.request_log().back(), IsLine(GetParam().message));
}

std::string with_error(const std::string& text, int number) {
    return text + std::to_string(number) + " (" + strerror(number) + ")";
}

INSTANTIATE_TEST_SUITE_P(
    , FailedCallOfTheAgent,
    testing::Values(FailedCall{"Fork",
                               refused_calls::fork({.error = EAGAIN}),
                               5766,
                               {error, tag, with_error("fork() failed C=" + zmsu_tool + " ERRNO=", EAGAIN)}},
                    FailedCall{"Wait",
                               {{.number = SYS_wait4, .error = ECHILD}},
                               5769,
                               {error, tag, with_error("waitpid() failed C=" + zmsu_tool + " ERRNO=", ECHILD)}},
                    FailedCall{"NonBlockingSocket",
                               refused_calls::fcntl({.error = EPERM, .argument = 1, .value = F_SETFL}),
                               602,
                               {error, tag, with_error("set socket nonblocking failed RV=-1 E=", EPERM)}},
                    FailedCall{"LastNewline",
                               {{.number = SYS_write, .error = EIO, .argument = 2, .value = 1}},
                               5796,
                               {error, tag, with_error("failed to flush output E=", EIO)}}),
    name_of_row);

}  // namespace
