// Command words, the tools behind them, and how a tool is run.
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
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

constexpr const char* tag = "execute_cmd_send_output";

struct ToolWord {
    std::string word;
    std::string tool;
};

std::ostream& operator<<(std::ostream& out, const ToolWord& row) {
    return out << row.word;
}

class ExternalWord : public testing::TestWithParam<ToolWord> {};

TEST_P(ExternalWord, RunsItsTool) {
    const auto& [word, tool] = GetParam();
    make_product_tree();
    install_tool(tool, {stand_in::print_arguments()});
    const AgentRun run = run_agent({word, "-a", "two words"});
    EXPECT_EQ(run.output(), "[" + tool + "]\n[-a]\n[two words]\n\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({4, "is_cmd_valid", "command is valid & external C=" + word}));
    EXPECT_THAT(run.request_log(), LogIs(messages_of_run(word, tool)));
}

INSTANTIATE_TEST_SUITE_P(Table, ExternalWord,
                         testing::Values(ToolWord{"zmsu", zmsu_tool}, ToolWord{"zmcplogs", zmcplogs_tool},
                                         ToolWord{"versioninfo", versioninfo_tool},
                                         ToolWord{"ktlogcfg", ktlogcfg_tool}),
                         [](const auto& row) { return row.param.word; });

class BuiltInWord : public testing::TestWithParam<std::string> {};

TEST_P(BuiltInWord, IsValid) {
    make_product_tree();
    const AgentRun run = run_agent({GetParam()});
    EXPECT_THAT(run.log, LogHas({4, "is_cmd_valid", "command is valid C=" + GetParam()}));
    EXPECT_NE(run.status(), 5764);
}

INSTANTIATE_TEST_SUITE_P(Table, BuiltInWord,
                         testing::Values("ENABLELOGGING", "DISABLELOGGING", "FETCHFILE", "RESETLOGGING", "RUNZMSU",
                                         "RUNZMCPLOGS", "CALCLOGSIZE", "GETDISKSPACE", "ZMLA", "CLEANUP"),
                         [](const auto& row) { return row.param; });

class UnknownWord : public testing::TestWithParam<std::tuple<std::string, std::string>> {};

TEST_P(UnknownWord, IsRefusedAndRunsNothing) {
    const std::string& word = std::get<1>(GetParam());
    make_product_tree();
    for (const std::string& tool : {zmsu_tool, zmcplogs_tool, zmlogadm_tool, versioninfo_tool, ktlogcfg_tool}) {
        install_tool(tool, {stand_in::print("ran")});
    }
    const AgentRun run = run_agent({word, "argument"});
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 5764);
    EXPECT_EQ(run.exit_status(), 5764 & 0xff);
    EXPECT_THAT(run.log, LogHas({16, "is_cmd_valid", "command is not valid C=" + word + " RV=5764"}));
    EXPECT_THAT(run.request_log(), LogIs({}));
}

INSTANTIATE_TEST_SUITE_P(Table, UnknownWord,
                         testing::Values(std::tuple("ToolOfTheRequestWordAlone", "zmlogadm"),
                                         std::tuple("Capitals", "ZMSU"), std::tuple("SmallLetters", "fetchfile"),
                                         std::tuple("LongerWord", "zmsux"), std::tuple("ShorterWord", "zms"),
                                         std::tuple("LeadingBlank", " zmsu"), std::tuple("TrailingBlank", "zmsu "),
                                         std::tuple("Path", "/bin/sh"), std::tuple("FileOfTheTool", "old_zmsu"),
                                         std::tuple("Empty", "")),
                         [](const auto& row) { return std::get<0>(row.param); });

class ExternalTool : public ProductTest {};

TEST_F(ExternalTool, IsReportedStepByStepByItsChild) {
    install_tool(zmsu_tool, {});
    const AgentRun run = run_agent({"zmsu", "-a", ""});
    EXPECT_THAT(run.child_log(), LogIs({
                                     {4, "setup_child_stdfds", "stdin dup2() INFD=3 RV=0"},
                                     {4, "setup_child_stdfds", "stdout dup2() INFD=3 RV=1"},
                                     {4, "setup_child_stdfds", "stderr dup2() INFD=3 RV=2"},
                                     {4, "getcommandpath", "full cmd path N=zmsu P=" + zmsu_tool},
                                     {4, "setup_execvp_argv", "input C=" + zmsu_tool + ", #ARGS=3, MAX ARGV SLOTS=512"},
                                     {4, "setup_execvp_argv", "adding arg A=-a I=2"},
                                     {4, "setup_execvp_argv", "adding arg A= I=3"},
                                 }));
}

TEST_F(ExternalTool, SendsOutputAndErrorsToThePeer) {
    install_tool(zmsu_tool, {stand_in::print("out\n"), stand_in::complain("error\n"), stand_in::print("no newline")});
    EXPECT_EQ(run_agent({"zmsu"}).output(), "out\nerror\nno newline\n");
}

TEST_F(ExternalTool, SendsBytesThatAreNotText) {
    install_tool(zmsu_tool, {stand_in::run("printf '\\0\\377\\r'")});
    EXPECT_EQ(run_agent({"zmsu"}).output(), std::string("\0\xff\r\n", 4));
}

TEST_F(ExternalTool, AnswersWhilePeerAndToolTalk) {
    install_tool(zmsu_tool, {stand_in::print("name? "), stand_in::print_input(4), stand_in::print(" done")});
    Agent agent;
    agent.send(Request{"zmsu"});
    agent.receive_until("name? ");
    agent.send("anna");
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.output(), "name? anna done\n");
    EXPECT_EQ(run.status(), 0);
}

TEST_F(ExternalTool, GetsItsPathAloneWithoutArguments) {
    install_tool(zmsu_tool, {stand_in::print_arguments()});
    EXPECT_EQ(run_agent({"zmsu"}).output(), "[" + zmsu_tool + "]\n\n");
}

TEST_F(ExternalTool, GetsArgumentsThatNoShellInterpreted) {
    install_tool(zmsu_tool, {stand_in::print_arguments()});
    EXPECT_EQ(run_agent({"zmsu", "", " ", "$HOME", "a;b", "'", "*", "x\ny"}).output(),
              "[" + zmsu_tool + "]\n[]\n[ ]\n[$HOME]\n[a;b]\n[']\n[*]\n[x\ny]\n\n");
}

TEST_F(ExternalTool, GetsTheAgentsEnvironment) {
    install_tool(zmsu_tool, {stand_in::print_variable("ZMLA_TEST")});
    AgentOptions options;
    options.environment.emplace_back("ZMLA_TEST=a value");
    EXPECT_EQ(run_agent({"zmsu"}, options).output(), "a value\n\n");
}

TEST_F(ExternalTool, InheritsTheStandardStreamsAndTheSocketAlone) {
    install_tool(zmsu_tool, {stand_in::print_descriptors()});
    EXPECT_EQ(run_agent({"zmsu"}).output(), "0 1 2 3 \n\n");
}

TEST_F(ExternalTool, HasThePeersSocketForItsStreams) {
    install_tool(zmsu_tool,
                 {stand_in::run("for fd in 0 1 2; do [ /proc/$$/fd/$fd -ef /proc/$$/fd/3 ] && echo $fd; done")});
    EXPECT_EQ(run_agent({"zmsu"}).output(), "0\n1\n2\n\n");
}

// The buffer holds far less than the tool writes at once.
TEST_F(ExternalTool, WaitsForASlowPeerThoughTheSocketIsNonBlockingAtTheStart) {
    install_tool(zmsu_tool, {stand_in::run("head -c 3000000 /dev/zero")});
    ConnectedSockets sockets = connect_locally();
    const int smallest = 1;
    ASSERT_EQ(setsockopt(sockets.agent_end.get(), SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest), 0);
    ASSERT_EQ(fcntl(sockets.agent_end.get(), F_SETFL, O_NONBLOCK), 0);
    Agent agent(std::move(sockets), {});
    agent.send(Request{"zmsu"});
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.output().size(), 3'000'000U + 1);
}

TEST_F(ExternalTool, MayBeAScriptWithoutAnInterpreterLine) {
    write_file(zmsu_tool, "echo ran\n");
    set_mode(zmsu_tool, 0755);
    EXPECT_EQ(run_agent({"zmsu"}).output(), "ran\n\n");
}

TEST_F(ExternalTool, IsWaitedForWhereChildrenAreIgnored) {
    install_tool(zmsu_tool, {stand_in::exit_with(3)});
    AgentOptions options;
    options.ignored_signals = {SIGCHLD};
    EXPECT_EQ(run_agent({"zmsu"}, options).status(), 3);
}

TEST_F(ExternalTool, TalksOverTcp) {
    install_tool(zmsu_tool, {stand_in::print_input(4), stand_in::complain("error")});
    Agent agent(connect_over_tcp({.peer_port = 1000}), {});
    agent.send(netstrings({"zmsu"}) + "anna");
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.output(), "annaerror\n");
    EXPECT_EQ(run.status(), 0);
}

class ToolStatus : public testing::TestWithParam<int> {};

TEST_P(ToolStatus, BecomesTheRequests) {
    make_product_tree();
    install_tool(zmsu_tool, {stand_in::print("output"), stand_in::exit_with(GetParam())});
    const AgentRun run = run_agent({"zmsu"});
    EXPECT_EQ(run.output(), "output\n");
    EXPECT_EQ(run.status(), GetParam());
    EXPECT_EQ(run.exit_status(), GetParam());
    EXPECT_THAT(run.request_log(), LogIs(messages_of_run("zmsu", zmsu_tool, {.code = GetParam()})));
}

INSTANTIATE_TEST_SUITE_P(Table, ToolStatus, testing::Values(0, 1, 3, 23, 127, 255), testing::PrintToStringParamName());

class ToolSignal : public testing::TestWithParam<std::tuple<std::string, int>> {};

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

INSTANTIATE_TEST_SUITE_P(Table, ToolSignal,
                         testing::Values(std::tuple("TERM", SIGTERM), std::tuple("KILL", SIGKILL),
                                         std::tuple("ABRT", SIGABRT)),
                         [](const auto& row) { return std::get<0>(row.param); });

void expect_not_executed(const AgentRun& run) {
    EXPECT_EQ(run.output(), "\n");
    EXPECT_EQ(run.status(), 29);
    EXPECT_EQ(run.exit_status(), 29);
    EXPECT_THAT(run.request_log(), LogIs(messages_of_run("zmsu", zmsu_tool, {.code = 29})));
    EXPECT_THAT(run.child_log().back(), IsLine(LogLine{16, tag, "execvp() failed C=" + zmsu_tool + " EC=-1"}));
}

TEST_F(ExternalTool, GivesStatus29WhenItIsMissing) {
    expect_not_executed(run_agent({"zmsu"}));
}

TEST_F(ExternalTool, GivesStatus29WhenItMayNotBeExecuted) {
    write_file(zmsu_tool, "#!/bin/sh\n");
    expect_not_executed(run_agent({"zmsu"}));
}

TEST_F(ExternalTool, GivesStatus29WhenItIsAFolder) {
    make_folder(zmsu_tool);
    expect_not_executed(run_agent({"zmsu"}));
}

// The command word and so many arguments.
Request request_of(std::size_t elements) {
    Request request = {"zmsu"};
    for (std::size_t i = 1; i < elements; ++i) {
        request.push_back(std::to_string(i));
    }
    return request;
}

TEST_F(ExternalTool, IsRunWith510Elements) {
    install_tool(zmsu_tool, {stand_in::run("echo $# $1 $last")});
    const AgentRun run = run_agent(request_of(510));
    EXPECT_EQ(run.output(), "509 1 509\n\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.child_log().back(), IsLine(LogLine{4, "setup_execvp_argv", "adding arg A=509 I=510"}));
}

TEST_F(ExternalTool, IsNotRunWith511Elements) {
    install_tool(zmsu_tool, {stand_in::print("ran")});
    const AgentRun run = run_agent(request_of(511));
    EXPECT_EQ(run.output(), "\n");
    EXPECT_EQ(run.status(), 29);
    EXPECT_THAT(run.child_log(),
                LogHas({4, "setup_execvp_argv", "input C=" + zmsu_tool + ", #ARGS=511, MAX ARGV SLOTS=512"}));
    EXPECT_THAT(run.child_log(), LogHas({16, "setup_execvp_argv", "Not enough argv slots. #ARGS=511 SLOTS=512"}));
    EXPECT_THAT(run.child_log(), Not(LogHas({4, "setup_execvp_argv", "adding arg A=1 I=2"})));
}

TEST_F(ExternalTool, GivesStatus23WhenThePeerHasClosed) {
    install_tool(zmsu_tool, {stand_in::print("ready"), stand_in::await_end_of_input(), stand_in::exit_with(3)});
    Agent agent;
    agent.send(Request{"zmsu"});
    agent.receive_until("ready");
    agent.close_peer();
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.exit_status(), 23);
    EXPECT_THAT(run.log, LogHas({4, tag, "child process exited CEC=3 C=" + zmsu_tool}));
    EXPECT_THAT(run.log, LogHas({2, tag, "recv return value=0 ERRNO=<digits> (<text>)"}));
    EXPECT_THAT(run.log, LogHas({16, tag, "Peer socket is closed NSC=0"}));
    EXPECT_THAT(run.log, LogHas({4, "zmlogadmagent", "closing peer SOCK (3) in QAS NSC=23"}));
}

TEST_F(ExternalTool, GivesStatus23WhenThePeerHasStoppedSending) {
    install_tool(zmsu_tool, {stand_in::await_end_of_input()});
    Agent agent;
    agent.send(Request{"zmsu"});
    agent.stop_sending();
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 23);
}

TEST_F(ExternalTool, GivesStatus23WhenThePeerSentMoreThanTheToolRead) {
    install_tool(zmsu_tool, {stand_in::print("output")});
    const AgentRun run = run_agent_with_bytes(netstrings({"zmsu"}) + "x");
    EXPECT_EQ(run.output(), "output");
    EXPECT_EQ(run.status(), 23);
    EXPECT_THAT(run.log, LogHas({2, tag, "recv return value=1 ERRNO=<digits> (<text>)"}));
    EXPECT_THAT(run.log, LogHas({16, tag, "Peer socket is closed NSC=1"}));
}

struct RefusedStep {
    std::string name;
    std::vector<RefusedCall> calls;
    int status = 0;
    LogLine message;
};

std::ostream& operator<<(std::ostream& out, const RefusedStep& row) {
    return out << row.name;
}

class RefusedToTheAgent : public testing::TestWithParam<RefusedStep> {};

TEST_P(RefusedToTheAgent, GivesAStatusOfItsOwn) {
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

std::string with_text(const std::string& text, int error) {
    return text + std::to_string(error) + " (" + strerror(error) + ")";
}

INSTANTIATE_TEST_SUITE_P(
    Table, RefusedToTheAgent,
    testing::Values(RefusedStep{"Fork",
                                refused_calls::fork({.error = EAGAIN}),
                                5766,
                                {16, tag, with_text("fork() failed C=" + zmsu_tool + " ERRNO=", EAGAIN)}},
                    RefusedStep{"Wait",
                                {{.number = SYS_wait4, .error = ECHILD}},
                                5769,
                                {16, tag, with_text("waitpid() failed C=" + zmsu_tool + " ERRNO=", ECHILD)}},
                    RefusedStep{"NonBlockingSocket",
                                refused_calls::fcntl({.error = EPERM, .argument = 1, .value = F_SETFL}),
                                602,
                                {16, tag, with_text("set socket nonblocking failed RV=-1 E=", EPERM)}},
                    RefusedStep{"LastNewline",
                                {{.number = SYS_write, .error = EIO, .argument = 2, .value = 1}},
                                5796,
                                {16, tag, with_text("failed to flush output E=", EIO)}}),
    [](const auto& row) { return row.param.name; });

}  // namespace
