// The agent of this host, started by the command: a script stands in for it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "tests/request_command/command_run.h"
#include "tests/support/test_files.h"

namespace {

constexpr const char* installed_agent = "/usr/kumel/zembrath/bin/zmlogadmagent";

// Steps of the stand-in. The request is the one that the tests send.
const std::string receive_request = "request=$(head -c 14)\n";
const std::string answer = "exec >&0\n";
// By the shell's own means alone, which open nothing. The descriptor that it reads the stand-in from is its own.
const std::string look_at_descriptors = R"sh(
number=0
while [ $number -lt 256 ]; do
    file=/proc/$$/fd/$number
    if [ -S $file ]; then descriptors="$descriptors $number socket,"
    elif [ $file -ef /dev/null ]; then descriptors="$descriptors $number null device,"
    elif [ -e $file ] && ! [ $file -ef "$0" ]; then descriptors="$descriptors $number other,"
    fi
    number=$((number + 1))
done
)sh";
const std::string succeed = "echo EXIT STATUS 0 done\n";

class LocalAgent : public testing::Test {
  protected:
    // Runs the command with a stand-in that does these things.
    [[nodiscard]] CommandRun run_with_agent(const std::string& steps, const Preparation& prepare = nullptr) const {
        write_tool(agent_, steps);
        return run_command({"--agent", agent_, "RUNZMSU"}, prepare);
    }

    ScratchFolder folder_;
    std::string agent_ = folder_.path("agent");
};

TEST_F(LocalAgent, ReceivesTheRequestAndAnswers) {
    const CommandRun run = run_with_agent(receive_request + answer + "echo \"$request\"\necho EXIT STATUS 5 no\n");
    EXPECT_EQ(run.output, "1:1,7:RUNZMSU,\n");
    EXPECT_EQ(run.errors, "EXIT STATUS 5 no\n");
    EXPECT_EQ(run.exit_status, 5);
}

TEST_F(LocalAgent, IsTheInstalledOneByDefault) {
    write_tool(installed_agent, receive_request + answer + "echo EXIT STATUS 5 no\n");
    EXPECT_EQ(run_command({"RUNZMSU"}).exit_status, 5);
    EXPECT_EQ(run_command({"-l", "RUNZMSU"}).exit_status, 5);
    EXPECT_EQ(run_command({"--local", "RUNZMSU"}).exit_status, 5);
}

TEST_F(LocalAgent, IsStartedWithItsPathAloneForArguments) {
    EXPECT_EQ(run_with_agent(receive_request + answer + "echo \"$0 $#\"\n" + succeed).output, agent_ + " 0\n");
}

TEST_F(LocalAgent, HasTheConnectionAndTwoNullDevicesForDescriptorsAndNoOther) {
    const CommandRun run =
        run_with_agent(receive_request + look_at_descriptors + answer + "echo $descriptors\n" + succeed,
                       [] { dup2(STDIN_FILENO, 7); });
    EXPECT_EQ(run.output, "0 socket, 1 null device, 2 null device,\n");
}

TEST_F(LocalAgent, HasItsDescriptorsAlsoWhenTheCommandHasNone) {
    const std::string seen = folder_.path("seen");
    const CommandRun run = run_with_agent(
        receive_request + look_at_descriptors + answer + "echo $descriptors > '" + seen + "'\n" + succeed,
        without_descriptors({0, 1, 2}));
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(read_file(seen), "0 socket, 1 null device, 2 null device,\n");
}

TEST_F(LocalAgent, DoesNotIgnoreBrokenPipes) {
    const CommandRun run = run_with_agent(receive_request + answer + "grep SigIgn: /proc/$$/status\n" + succeed);
    const unsigned long long ignored = std::stoull(run.output.substr(run.output.find('\t')), nullptr, 16);
    EXPECT_EQ(ignored & (1ULL << (SIGPIPE - 1)), 0U);
}

TEST_F(LocalAgent, IsWaitedForAfterItsAnswer) {
    const std::string trace = folder_.path("trace");
    EXPECT_EQ(
        run_with_agent(receive_request + answer + succeed + "exec <&- >&-\necho gone > '" + trace + "'\n").exit_status,
        0);
    EXPECT_EQ(read_file(trace), "gone\n");
}

TEST_F(LocalAgent, IsWaitedForWhenTheOutputFails) {
    const std::string trace = folder_.path("trace");
    const CommandRun run =
        run_with_agent(receive_request + answer + "trap '' PIPE\necho one\ncat <&0\necho gone > '" + trace + "'\n",
                       with_output_to("/dev/full"));
    EXPECT_EQ(run.errors, "zmlogadm: cannot write to standard output: No space left on device\n");
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(read_file(trace), "gone\n");
}

TEST_F(LocalAgent, ThatEndsWithoutStatusLineIsToldByItsExitStatus) {
    const CommandRun run = run_with_agent(receive_request + answer + "echo one\nexit 11\n");
    EXPECT_EQ(run.output, "one\n");
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line; the agent ended with exit status 11\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, ThatIsKilledIsToldByItsSignal) {
    const CommandRun run = run_with_agent(receive_request + "kill -KILL $$\n");
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line; the agent was ended by signal 9 (Killed)\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, ThatEndsBeforeTheRequestIsToldToo) {
    const CommandRun run = run_with_agent("exit 12\n");
    EXPECT_THAT(run.errors, testing::StartsWith("zmlogadm: the answer has no status line"));
    EXPECT_THAT(run.errors, testing::EndsWith("; the agent ended with exit status 12\n"));
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, MayBeMissing) {
    const CommandRun run = run_command({"--agent", agent_, "RUNZMSU"});
    EXPECT_EQ(run.errors, "zmlogadm: cannot start the agent " + agent_ + ": No such file or directory\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, MayBeNoProgram) {
    write_file(agent_, "no program\n");
    const CommandRun not_executable = run_command({"--agent", agent_, "RUNZMSU"});
    EXPECT_EQ(not_executable.errors, "zmlogadm: cannot start the agent " + agent_ + ": Permission denied\n");
    EXPECT_EQ(not_executable.exit_status, 255);
    set_mode(agent_, 0755);
    const CommandRun not_a_program = run_command({"--agent", agent_, "RUNZMSU"});
    EXPECT_EQ(not_a_program.errors, "zmlogadm: cannot start the agent " + agent_ + ": Exec format error\n");
    EXPECT_EQ(not_a_program.exit_status, 255);
}

}  // namespace
