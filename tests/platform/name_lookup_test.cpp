// The look-up of names in a child process: what it starts, which output it accepts, and when it ends.
#include "platform/library/name_lookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>

#include "tests/platform/child_process.h"
#include "tests/platform/name_lookup.h"
#include "tests/support/connected_sockets.h"
#include "tests/support/failing_calls.h"
#include "tests/support/replaced_file.h"
#include "tests/support/test_files.h"

using failing_calls::failures;
using failing_calls::times;
using platform_library::Address;
using platform_library::look_up;
using platform_library::LookUpEnd;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Returns the addresses that are found when getent prints the text.
Texts found_in(const std::string& text) {
    write_file("/tmp/answer", text);
    const StandInGetent getent("cat /tmp/answer\n");
    const Found found = find({"name"});
    EXPECT_EQ(found.end, LookUpEnd::complete);
    return found.addresses;
}

// Commands that run forever and ignore signals.
const std::string hang = "trap '' HUP INT TERM PIPE\nexec tail -f /dev/null\n";

// Expects that the look-up ends when its time is over.
void expect_timed_out(const std::string& commands) {
    const StandInGetent getent(commands);
    const auto start = Clock::now();
    EXPECT_EQ(find({"name"}, short_time).end, LookUpEnd::timed_out);
    const auto taken = Clock::now() - start;
    EXPECT_GE(taken, short_time);
    EXPECT_LT(taken, short_time + std::chrono::seconds(1));
}

// Waits for a process whose parent is gone, and expects that it was killed.
void expect_killed(pid_t process) {
    int status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
}

}  // namespace

TEST_F(NameLookUp, AsksGetentForEachName) {
    const StandInGetent getent("printf '[%s]' \"$0\" \"$@\" >\"/tmp/run.$3\"\n");
    EXPECT_EQ(find({"two.example.test", "--help"}).end, LookUpEnd::complete);
    EXPECT_EQ(read_file("/tmp/run.two.example.test"), "[/usr/bin/getent][ahosts][--][two.example.test]");
    EXPECT_EQ(read_file("/tmp/run.--help"), "[/usr/bin/getent][ahosts][--][--help]");
}

TEST_F(NameLookUp, FindsANameBesideOneThatGetsNoAnswer) {
    const StandInGetent getent("[ \"$3\" = silent ] && exec tail -f /dev/null\necho '10.77.0.9 STREAM'\n");
    EXPECT_EQ(find({"silent", "one"}, long_time, "10.77.0.9").end, LookUpEnd::stopped);
    EXPECT_EQ(find({"one", "silent"}, long_time, "10.77.0.9").end, LookUpEnd::stopped);
}

TEST_F(NameLookUp, FindsMoreNamesThanItLooksUpAtOnce) {
    const StandInGetent getent("echo \"10.77.0.$3 STREAM\"\n");
    Texts names;
    Texts addresses;
    for (int i = 1; i <= 40; ++i) {
        names.push_back(std::to_string(i));
        addresses.push_back("10.77.0." + std::to_string(i));
    }
    const Found found = find(names);
    EXPECT_EQ(found.end, LookUpEnd::complete);
    EXPECT_THAT(found.addresses, testing::UnorderedElementsAreArray(addresses));
}

TEST_F(NameLookUp, StartsNothingWithoutNames) {
    const StandInGetent getent("echo run >/tmp/runs\n");
    EXPECT_EQ(find({}).end, LookUpEnd::complete);
    EXPECT_FALSE(exists("/tmp/runs"));
}

TEST_F(NameLookUp, ReportsEveryAddressInOrder) {
    EXPECT_THAT(
        found_in("10.77.0.9       STREAM one\n10.77.0.9       DGRAM  \nfd77::1         STREAM two\n10.77.0.3\n"),
        ElementsAre("10.77.0.9", "fd77::1", "10.77.0.3"));
}

TEST_F(NameLookUp, FindsTheKnownNamesAmongOthers) {
    write_file("/etc/hosts", "10.77.0.9 one\nfd77::1 two\n");
    EXPECT_THAT(find({"nobody.example.test", "one", "-s", "--help", "two"}).addresses,
                testing::UnorderedElementsAre("10.77.0.9", "fd77::1"));
}

TEST_F(NameLookUp, KeepsTheInterfaceOfALinkLocalAddress) {
    const StandInGetent getent("echo 'fe80::2%1 STREAM name'\n");
    std::uint32_t scope = 0;
    look_up({"name"}, Clock::now() + long_time, [&](const Address& address) {
        scope = address.scope;
        return true;
    });
    EXPECT_EQ(scope, 1U);
}

TEST_F(NameLookUp, IgnoresALineThatDoesNotBeginWithAnAddress) {
    for (const char* text : {"", "\n", "garbage\n", "name 10.77.0.2\n", " 10.77.0.2\n", "\t10.77.0.2\n", "10.77.0.2x\n",
                             "10.77.0.02 STREAM name\n", "10.77.2 STREAM name\n", "0x0a4d0002 STREAM\n",
                             "10.77.0.2\r\n", "10.77.0.2,10.77.0.3\n", "\x01\xFF\x7F\n"}) {
        EXPECT_THAT(found_in(text), IsEmpty()) << text;
    }
    EXPECT_THAT(found_in(std::string("10.77.0.2\0 STREAM\n", 18)), IsEmpty());
    EXPECT_THAT(found_in(std::string(100000, 'x') + "10.77.0.2\n"), IsEmpty());
    EXPECT_THAT(found_in("10.77.0.2" + std::string(100000, '2') + "\n"), IsEmpty());
}

TEST_F(NameLookUp, IgnoresALineWithoutItsNewline) {
    EXPECT_THAT(found_in("10.77.0.2"), IsEmpty());
    EXPECT_THAT(found_in("10.77.0.2 STREAM name"), IsEmpty());
    EXPECT_THAT(found_in("10.77.0.9 STREAM name\n10.77.0.2"), ElementsAre("10.77.0.9"));
}

TEST_F(NameLookUp, UsesWholeLinesWhateverFollowsThem) {
    EXPECT_THAT(found_in("10.77.0.2 STREAM " + std::string(100000, 'x') + "\n"), ElementsAre("10.77.0.2"));
    EXPECT_THAT(found_in("garbage\n10.77.0.2 STREAM\n"), ElementsAre("10.77.0.2"));
    for (const char* end : {"exit 2", "exit 127", "kill -KILL $$", "kill -SEGV $$"}) {
        const StandInGetent getent(std::string("echo 10.77.0.2 STREAM\n") + end + "\n");
        const Found found = find({"name"});
        EXPECT_EQ(found.end, LookUpEnd::complete) << end;
        EXPECT_THAT(found.addresses, ElementsAre("10.77.0.2")) << end;
    }
}

TEST_F(NameLookUp, AcceptsALineThatArrivesInPieces) {
    const StandInGetent getent("printf 10.77.\nread -r line </tmp/fifo\nprintf '0.2 STREAM\\n'\n");
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    ChildProcess rest([] { write_file("/tmp/fifo", "go on\n"); });
    EXPECT_THAT(find({"name"}).addresses, ElementsAre("10.77.0.2"));
    EXPECT_EQ(rest.wait(), 0);
}

TEST_F(NameLookUp, EndsWithTheWantedAddress) {
    const StandInGetent getent("echo 10.77.0.9 STREAM\necho 10.77.0.2 STREAM\necho 10.77.0.3 STREAM\n" + hang);
    const Found found = find({"name"}, long_time, "10.77.0.2");
    EXPECT_EQ(found.end, LookUpEnd::stopped);
    EXPECT_THAT(found.addresses, ElementsAre("10.77.0.9", "10.77.0.2"));
}

TEST_F(NameLookUp, EndsInTimeWhenGetentHangs) {
    expect_timed_out(hang);
}

TEST_F(NameLookUp, EndsInTimeWhenGetentLeavesAProcessWithItsOutput) {
    expect_timed_out("tail -f /dev/null &\nexit 0\n");
}

TEST_F(NameLookUp, EndsInTimeWhenGetentIsStopped) {
    expect_timed_out("kill -STOP $$\n");
}

TEST_F(NameLookUp, BuffersNothingOfAnEndlessAnswer) {
    for (const char* endless : {"exec cat /dev/zero\n", "exec yes 10.77.0.2x\n", "exec yes ''\n"}) {
        rusage before{};
        rusage after{};
        getrusage(RUSAGE_SELF, &before);
        expect_timed_out(endless);
        getrusage(RUSAGE_SELF, &after);
        EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32 * 1024) << endless;
    }
}

TEST_F(NameLookUp, KillsWhatGetentHasStarted) {
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    const StandInGetent getent("tail -f /dev/null &\necho $! >/tmp/started\necho 10.77.0.2 STREAM\nwait\n");
    EXPECT_EQ(find({"name"}, long_time, "10.77.0.2").end, LookUpEnd::stopped);
    expect_killed(std::stoi(read_file("/tmp/started")));
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 0), 0);
}

TEST_F(NameLookUp, EndsWithItsCaller) {
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    const StandInGetent getent("echo $$ >/tmp/fifo\n" + hang);
    {
        ChildProcess caller([] { find({"name"}); });
        const pid_t resolver = std::stoi(read_file("/tmp/fifo"));
        kill(caller.id(), SIGKILL);
        caller.wait();
        expect_killed(resolver);
    }
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 0), 0);
}

TEST_F(NameLookUp, PassesGetentNothingOfTheCallerExceptTheNames) {
    // They run in the background, so that the shell does not change its own state for them.
    const StandInGetent getent(
        "cat /proc/$$/environ >/tmp/environment &\ncat /proc/self/status >/tmp/status\n"
        "ls -l /proc/$$/fd >/tmp/descriptors &\nwait\n");
    EXPECT_TRUE(succeeds_in_child([] {
        setenv("LD_PRELOAD", "", 1);
        setenv("RES_OPTIONS", "debug", 1);
        for (const int number : {SIGPIPE, SIGINT, SIGCHLD - 1, SIGRTMIN}) {
            signal(number, SIG_IGN);
        }
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        const ConnectedSockets connection = connect_locally();
        ASSERT_NE(dup(connection.agent_end.get()), -1);
        ASSERT_NE(dup2(connection.agent_end.get(), STDIN_FILENO), -1);
        EXPECT_EQ(find({"name"}).end, LookUpEnd::complete);
    }));
    const char environment[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin\0LC_ALL=C";
    EXPECT_EQ(read_file("/tmp/environment"), std::string(environment, sizeof environment));
    const std::string status = read_file("/tmp/status");
    EXPECT_THAT(status, ContainsRegex("\nSigBlk:\t0*\n"));
    EXPECT_THAT(status, ContainsRegex("\nSigIgn:\t0*\n"));
    // The shell has the script open as descriptor 10.
    EXPECT_THAT(read_file("/tmp/descriptors"), testing::MatchesRegex("total 0\n"
                                                                     "[^\n]* 0 -> [^\n]*/dev/null\n"
                                                                     "[^\n]* 1 -> pipe:[^\n]*\n"
                                                                     "[^\n]* 10 -> [^\n]*/getent\n"
                                                                     "[^\n]* 2 -> [^\n]*/dev/null\n"));
}

TEST_F(NameLookUp, WorksWithoutStandardStreams) {
    write_file("/etc/hosts", "10.77.0.9 one\n");
    EXPECT_TRUE(succeeds_in_child([] {
        for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            close(fd);
        }
        EXPECT_THAT(find({"one"}).addresses, ElementsAre("10.77.0.9"));
    }));
}

TEST_F(NameLookUp, ReportsWhyItCannotStart) {
    failures["pipe2"] = {EMFILE};
    EXPECT_EQ(find({"localhost"}).end, LookUpEnd::not_started);
    EXPECT_EQ(errno, EMFILE);
    failures["fork"] = {EAGAIN};
    EXPECT_EQ(find({"localhost"}).end, LookUpEnd::not_started);
    EXPECT_EQ(errno, EAGAIN);
}

TEST_F(NameLookUp, ContinuesAfterInterruptions) {
    write_file("/etc/hosts", "10.77.0.9 one\n");
    failures["poll"] = times(2, EINTR);
    failures["read"] = times(2, EINTR);
    EXPECT_THAT(find({"one"}).addresses, ElementsAre("10.77.0.9"));
}

TEST_F(NameLookUp, EndsWhenItCannotWait) {
    failures["poll"] = {ENOMEM};
    EXPECT_THAT(find({"localhost"}).addresses, IsEmpty());
}
