// The arguments, environment and descriptors of a tool, and its talk with the peer.
#include <fcntl.h>

#include <csignal>

#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

using log_level::information;

class ExternalTool : public ProductTest {};

TEST_F(ExternalTool, IsLoggedByTheChildStepByStep) {
    install_tool(zmsu_tool, {});
    const AgentRun run = run_agent({"zmsu", "-a", ""});
    EXPECT_THAT(run.child_log(),
                LogIs({
                    {information, "setup_child_stdfds", "stdin dup2() INFD=3 RV=0"},
                    {information, "setup_child_stdfds", "stdout dup2() INFD=3 RV=1"},
                    {information, "setup_child_stdfds", "stderr dup2() INFD=3 RV=2"},
                    {information, "getcommandpath", "full cmd path N=zmsu P=" + zmsu_tool},
                    {information, "setup_execvp_argv", "input C=" + zmsu_tool + ", #ARGS=3, MAX ARGV SLOTS=512"},
                    {information, "setup_execvp_argv", "adding arg A=-a I=2"},
                    {information, "setup_execvp_argv", "adding arg A= I=3"},
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

TEST_F(ExternalTool, TalksWithThePeer) {
    install_tool(zmsu_tool, {stand_in::print("name? "), stand_in::print_input(4), stand_in::print(" done")});
    Agent agent;
    agent.send(Request{"zmsu"});
    agent.receive_until("name? ");
    agent.send("anna");
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.output(), "name? anna done\n");
    EXPECT_EQ(run.status(), 0);
}

TEST_F(ExternalTool, GetsOnlyItsPathWithoutArguments) {
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

TEST_F(ExternalTool, InheritsOnlyTheStandardStreamsAndTheSocket) {
    install_tool(zmsu_tool, {stand_in::print_descriptors()});
    EXPECT_EQ(run_agent({"zmsu"}).output(), "0 1 2 3 \n\n");
}

TEST_F(ExternalTool, HasThePeersSocketAsItsStreams) {
    install_tool(zmsu_tool,
                 {stand_in::run("for fd in 0 1 2; do [ /proc/$$/fd/$fd -ef /proc/$$/fd/3 ] && echo $fd; done")});
    EXPECT_EQ(run_agent({"zmsu"}).output(), "0\n1\n2\n\n");
}

// The socket buffer holds far less than the tool writes.
TEST_F(ExternalTool, WaitsForASlowPeerAlsoWhenTheSocketStartsNonBlocking) {
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

TEST_F(ExternalTool, IsWaitedForAlsoWhenSigchldIsIgnored) {
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

}  // namespace
