// The agent of this host, which the command starts. A script stands in for the agent.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "platform/posix.h"
#include "tests/request_command/command_run.h"
#include "tests/support/product_tree.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"
#include "tests/support/tested_program.h"

namespace {

constexpr const char* installed_agent = "/usr/kumel/zembrath/bin/zmlogadmagent";

// Steps of the stand-in. They expect the request of these tests.
const std::string receive_request = "request=$(head -c 14)\n";
const std::string answer = "exec >&0\n";
// Uses only built-in commands of the shell, which open nothing. Leaves out the descriptor of the script itself.
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
    // Runs the command with a stand-in of these steps.
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

TEST_F(LocalAgent, HasOnlyItsPathAsArguments) {
    EXPECT_EQ(run_with_agent(receive_request + answer + "echo \"$0 $#\"\n" + succeed).output, agent_ + " 0\n");
}

TEST_F(LocalAgent, HasOnlyTheConnectionAndTwoNullDevicesAsDescriptors) {
    const CommandRun run =
        run_with_agent(receive_request + look_at_descriptors + answer + "echo $descriptors\n" + succeed,
                       [] { dup2(STDIN_FILENO, 7); });
    EXPECT_EQ(run.output, "0 socket, 1 null device, 2 null device,\n");
}

TEST_F(LocalAgent, HasTheSameDescriptorsWhenTheCommandHasNone) {
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

TEST_F(LocalAgent, LeadsASessionOfItsOwn) {
    const CommandRun run =
        run_with_agent(receive_request + answer + "cut -d ' ' -f 6 /proc/$$/stat; echo $$\n" + succeed);
    const std::string session = run.output.substr(0, run.output.find('\n') + 1);
    EXPECT_EQ(run.output, session + session);
}

TEST_F(LocalAgent, HasNoSignalBlockedOrIgnored) {
    // Uses only built-in commands: the shell blocks signals while it starts a program.
    const std::string look_at_signals =
        "while read -r line; do case $line in SigBlk*|SigIgn*) echo \"$line\" ;; esac; done </proc/$$/status\n";
    const CommandRun run = run_with_agent(receive_request + answer + look_at_signals + succeed, [] {
        sigset_t signals;
        sigfillset(&signals);
        sigprocmask(SIG_BLOCK, &signals, nullptr);
        for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGCHLD, SIGRTMAX}) {
            signal(number, SIG_IGN);
        }
    });
    // The C library may reserve 32 and 33.
    EXPECT_THAT(run.output, testing::MatchesRegex("SigBlk:\t0000000000000000\nSigIgn:\t0000000180000000\n|"
                                                  "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n"));
}

TEST_F(LocalAgent, HasOnlyAPathInItsEnvironment) {
    const CommandRun run =
        run_with_agent(receive_request + answer + "tr '\\0' '\\n' </proc/$$/environ\n" + succeed, [] {
            setenv("TZ", "Asia/Tokyo", 1);
            setenv("LD_PRELOAD", "", 1);
            setenv("LANG", "C.UTF-8", 1);
            setenv("PATH", "/elsewhere", 1);
        });
    EXPECT_EQ(run.output, "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin\n");
}

TEST_F(LocalAgent, StartsInTheRootFolderWithTheUmaskOfTheCommand) {
    const CommandRun run = run_with_agent(receive_request + answer + "pwd -P; umask\n" + succeed, [] { umask(0027); });
    EXPECT_EQ(run.output, "/\n0027\n");
}

TEST_F(LocalAgent, IsFoundFromTheFolderThatTheCommandIsIn) {
    write_tool(agent_, receive_request + answer + "echo \"$0\"\n" + succeed);
    const CommandRun run =
        run_command({"--agent", "./agent", "RUNZMSU"}, [this] { EXPECT_EQ(chdir(folder_.path("").c_str()), 0); });
    EXPECT_EQ(run.errors, "EXIT STATUS 0 done\n");
}

TEST_F(LocalAgent, HasTheLimitsOfAService) {
    const std::string limits =
        "grep -E '^Max (cpu|file size|data|address|stack|open)' /proc/$$/limits | "
        "sed -E 's/ +(seconds|bytes|files) *$//; s/  +[^ ]+$//; s/  +/ /g'\n";
    const CommandRun run = run_with_agent(receive_request + answer + limits + succeed, [] {
        for (const auto resource : {RLIMIT_CPU, RLIMIT_FSIZE, RLIMIT_DATA, RLIMIT_AS}) {
            rlimit limit{};
            getrlimit(resource, &limit);
            limit.rlim_cur = RLIM_INFINITY / 4;  // sanitizers take a lot of address space
            setrlimit(resource, &limit);
        }
        for (const auto resource : {RLIMIT_STACK, RLIMIT_NOFILE}) {
            rlimit limit{};
            getrlimit(resource, &limit);
            limit.rlim_cur = resource == RLIMIT_NOFILE ? 64 : 1UL << 20U;
            setrlimit(resource, &limit);
        }
    });
    EXPECT_EQ(run.output,
              "Max cpu time unlimited\nMax file size unlimited\nMax data size unlimited\nMax stack size 8388608\n"
              "Max open files 1024\nMax address space unlimited\n");
}

TEST_F(LocalAgent, LeavesTheLimitsOfTheCommandUnchanged) {
    const CommandRun run = run_with_agent(
        receive_request + answer + "sed -n 's/^Max file size *\\([0-9]*\\) .*/\\1/p' /proc/$PPID/limits\n" + succeed,
        [] {
            rlimit limit{};
            getrlimit(RLIMIT_FSIZE, &limit);
            limit.rlim_cur = 1UL << 30U;
            setrlimit(RLIMIT_FSIZE, &limit);
        });
    EXPECT_EQ(run.output, "1073741824\n");
}

TEST_F(LocalAgent, FailsTheCommandWhenItIsKilledAfterTheStatusLine) {
    const CommandRun run = run_with_agent(receive_request + answer + "echo one\n" + succeed + "kill -KILL $$\n");
    EXPECT_EQ(run.output, "one\n");
    EXPECT_EQ(run.errors, "zmlogadm: the status 0 is not trusted: the agent was killed by signal 9 (Killed)\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, CountsByItsStatusLineWithAnyExitStatus) {
    EXPECT_EQ(run_with_agent(receive_request + answer + succeed + "exit 7\n").exit_status, 0);
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

TEST_F(LocalAgent, IsReportedWithItsExitStatusWhenItSendsNoStatusLine) {
    const CommandRun run = run_with_agent(receive_request + answer + "echo one\nexit 11\n");
    EXPECT_EQ(run.output, "one\n");
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line; the agent ended with exit status 11\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, IsReportedWithTheSignalThatKilledIt) {
    const CommandRun run = run_with_agent(receive_request + "kill -KILL $$\n");
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line; the agent was killed by signal 9 (Killed)\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, IsReportedWhenItEndsBeforeTheRequest) {
    const CommandRun run = run_with_agent("exit 12\n");
    EXPECT_THAT(run.errors, testing::StartsWith("zmlogadm: the answer has no status line"));
    EXPECT_THAT(run.errors, testing::EndsWith("; the agent ended with exit status 12\n"));
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, IsReportedWhenItsFileIsMissing) {
    const CommandRun run = run_command({"--agent", agent_, "RUNZMSU"});
    EXPECT_EQ(run.errors, "zmlogadm: cannot start the agent " + agent_ + ": No such file or directory\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(LocalAgent, IsReportedWhenItsFileIsNotAProgram) {
    write_file(agent_, "no program\n");
    const CommandRun not_executable = run_command({"--agent", agent_, "RUNZMSU"});
    EXPECT_EQ(not_executable.errors, "zmlogadm: cannot start the agent " + agent_ + ": Permission denied\n");
    EXPECT_EQ(not_executable.exit_status, 255);
    set_mode(agent_, 0755);
    const CommandRun not_a_program = run_command({"--agent", agent_, "RUNZMSU"});
    EXPECT_EQ(not_a_program.errors, "zmlogadm: cannot start the agent " + agent_ + ": Exec format error\n");
    EXPECT_EQ(not_a_program.exit_status, 255);
}

struct Signal {
    std::string name;
    int number = 0;
};

std::ostream& operator<<(std::ostream& out, const Signal& signal) {
    return out << signal.name;
}

// A collection that continues while the process group of the command gets a signal, as from a terminal.
class InterruptedCollection : public testing::TestWithParam<Signal> {
  protected:
    static constexpr const char* collections = "/tmp/collections";

    InterruptedCollection() {
        make_product_tree();
        remove_tree("/tmp/end");
        EXPECT_EQ(mkfifo("/tmp/end", 0600), 0);
        // Open for reading too, so that a write does not wait for a tool that has ended.
        end_of_tool_ = Descriptor(open("/tmp/end", O_RDWR | O_CLOEXEC));
        install_tool(zmcplogs_tool, {stand_in::fill_last_argument({"messages"}), stand_in::run("echo agent $PPID"),
                                     stand_in::run("read line < /tmp/end")});
    }

    Descriptor end_of_tool_;
};

TEST_P(InterruptedCollection, LeavesNoFiles) {
    Command command({"--agent", tested_program(ZMLA_AGENT_FILE), "RUNZMCPLOGS", "--collectdir", collections}, [] {
        setpgid(0, 0);
        signal(GetParam().number, SIG_DFL);  // the tests may run with ignored signals
    });
    command.await_output("\n");
    const std::string output = command.output();
    const auto agent = static_cast<pid_t>(std::stol(output.substr(output.find(' '))));
    const Descriptor agents_end(static_cast<int>(syscall(SYS_pidfd_open, agent, 0)));
    ASSERT_TRUE(agents_end.valid());
    ASSERT_EQ(kill(-command.process(), GetParam().number), 0);
    EXPECT_EQ(command.finish().exit_status, -1);
    EXPECT_TRUE(write_all(end_of_tool_.get(), "\n"));
    pollfd entry = {.fd = agents_end.get(), .events = POLLIN, .revents = 0};
    ASSERT_EQ(poll(&entry, 1, -1), 1);
    EXPECT_TRUE(std::filesystem::is_empty(collections));
}

INSTANTIATE_TEST_SUITE_P(, InterruptedCollection,
                         testing::Values(Signal{"SigInt", SIGINT}, Signal{"SigHup", SIGHUP}, Signal{"SigTerm", SIGTERM},
                                         Signal{"SigQuit", SIGQUIT}),
                         [](const auto& signal) { return signal.param.name; });

}  // namespace
