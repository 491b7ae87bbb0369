// zmlogstate restore: what it restores, and what it leaves.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <string>

#include "tests/state_command/state_test.h"
#include "tests/support/agent_runner.h"
#include "tests/support/test_files.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// Waits until the kernel lists a process that waits for the lock.
void await_waiter(const Descriptor& lock) {
    struct stat state {};
    ASSERT_EQ(fstat(lock.get(), &state), 0);
    const std::string pattern = "-> FLOCK .*:" + std::to_string(state.st_ino) + " ";
    while (!testing::Matches(Contains(testing::ContainsRegex(pattern)))(lines_of(read_file("/proc/locks")))) {
    }
}

}  // namespace

class Restore : public StateTest {
  protected:
    CommandRun restore(const Arguments& options = {}) const {
        return run_command(Arguments{"restore"} + options + Arguments{folder_});
    }

    // Starts a restore, swaps a folder for a link after the restore has looked for differences, and lets it continue.
    CommandRun restore_while_swapping(const std::string& folder, const std::string& target,
                                      const Arguments& options = {}) const {
        const Descriptor lock(open((store + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        EXPECT_EQ(flock(lock.get(), LOCK_EX), 0);
        write_file(store, "changed\n");
        Command waiting(Arguments{"restore"} + options + Arguments{folder_});
        await_waiter(lock);
        remove_tree(folder);
        make_link(target, folder);
        EXPECT_EQ(flock(lock.get(), LOCK_UN), 0);
        return waiting.finish();
    }

    // Restores, and expects the state of the snapshot.
    void expect_restored(const Snapshot& before) const {
        expect_status(restore(), 0);
        EXPECT_EQ(take_snapshot(), before);
        const CommandRun diff = run_command({"diff", folder_});
        expect_status(diff, 0);
        EXPECT_EQ(diff.output, "");
    }
};

TEST_F(Restore, RestoresEverythingAfterARequestForAllCategories) {
    const Snapshot before = take_snapshot();
    save();
    raise_all_logging();
    EXPECT_NE(take_snapshot(), before);
    expect_restored(before);
}

TEST_F(Restore, RestoresEverythingOnAHostWithLoggingAlreadyOn) {
    raise_all_logging();
    set_mode(plugin_file, 0640);
    give_away(console_file);
    const Snapshot before = take_snapshot();
    save();
    raise_all_logging();
    EXPECT_EQ(run_agent({"DISABLELOGGING", "VMCONF:x", "JAVAGUI:x", "ZMKTUL:111=0", "QRCONF:VERBOSE=1"}).status(), 0);
    expect_restored(before);
}

TEST_F(Restore, ReportsItsChangesAndDoesNothingTheNextTime) {
    save();
    write_file(store, "changed\n");
    set_mode(store, 0600);
    make_folder(logs_folder + "/jobd");
    const CommandRun run = restore();
    expect_status(run, 0);
    EXPECT_THAT(lines_of(run.output), Contains(store + ": put back (content; mode 0644, now 0600)"));
    EXPECT_THAT(lines_of(run.output), Contains(logs_folder + "/jobd: log directory removed"));
    EXPECT_THAT(lines_of(run.output), Contains(HasSubstr("KOB:kob: not put back")));
    struct stat after_first {};
    ASSERT_EQ(stat(store.c_str(), &after_first), 0);
    const CommandRun second = restore();
    expect_status(second, 0);
    EXPECT_EQ(lines_of(second.output).size(), 1U) << second.output;
    struct stat after_second {};
    ASSERT_EQ(stat(store.c_str(), &after_second), 0);
    EXPECT_EQ(after_second.st_ino, after_first.st_ino);
}

TEST_F(Restore, RestoresOnlyModeOwnerAndAttributes) {
    const Snapshot before = take_snapshot();
    save();
    set_mode(store, 0600);
    give_away(console_file);
    ASSERT_EQ(setxattr(storage_file.c_str(), "user.note", "x", 1, 0), 0);
    ASSERT_EQ(setxattr(storage_file.c_str(), "user.other", "x", 1, 0), 0);
    ASSERT_EQ(removexattr(main_configuration.c_str(), "user.empty"), 0);
    expect_restored(before);
}

TEST_F(Restore, MakesMissingFilesAndRemovesNewOnes) {
    remove_tree(container_file);
    const Snapshot before = take_snapshot();
    save();
    remove_tree(store);
    write_file(container_file, "new\n");
    EXPECT_THAT(lines_of(run_command({"diff", folder_}).output), Contains(container_file + ": missing, now a file"));
    expect_restored(before);
}

TEST_F(Restore, RestoresLinksAndTheirTargets) {
    for (const std::string& path : {main_configuration, console_file}) {
        const std::string target = "/usr/kumel/real" + path.substr(path.rfind('/'));
        write_file(target, read_file(path));
        remove_tree(path);
        make_link(target, path);
    }
    const Snapshot before = take_snapshot();
    save();
    raise_all_logging();
    EXPECT_NE(take_snapshot().at(console_file).kind, "link");  // editing a key-value file replaces a link
    expect_restored(before);
}

TEST_F(Restore, LeavesALogDirectoryWithLogsUnlessTheyMayBeRemoved) {
    const Snapshot before = take_snapshot();
    save();
    write_file(logs_folder + "/jobd/below/log", "kept");
    make_folder(logs_folder + "/jobd/empty");
    write_file("/tmp/elsewhere/file", "not the log's");
    make_link("/tmp/elsewhere", logs_folder + "/jobd/link");
    const CommandRun run = restore();
    expect_status(run, 1);
    EXPECT_THAT(lines_of(run.output), Contains(logs_folder + "/jobd: log directory left, it is not empty"));
    EXPECT_EQ(read_file(logs_folder + "/jobd/below/log"), "kept");
    EXPECT_TRUE(exists(logs_folder + "/jobd/empty"));
    expect_status(restore({"--remove-logs"}), 0);
    EXPECT_EQ(take_snapshot(), before);
    EXPECT_EQ(read_file("/tmp/elsewhere/file"), "not the log's");
}

TEST_F(Restore, NeverRemovesTheAgentsOwnFoldersNorOldLogDirectories) {
    write_file(logs_folder + "/old/log", "kept");
    save();
    write_file(logs_folder + "/old/later", "kept");
    write_file(logs_folder + "/zmlaevidence/zmla-1/file", "kept");
    raise_all_logging();
    expect_status(restore({"--remove-logs"}), 0);
    EXPECT_EQ(read_file(logs_folder + "/old/later"), "kept");
    EXPECT_EQ(read_file(logs_folder + "/zmlaevidence/zmla-1/file"), "kept");
    EXPECT_TRUE(exists(logs_folder + "/zmlogadmagent"));
}

TEST_F(Restore, NeverRemovesALogRootWithItsFiles) {
    save();
    write_file("/usr/kumel/volmgr/debug/file", "kept");
    make_folder("/usr/kumel/volmgr/debug/robots");
    expect_status(restore({"--remove-logs"}), 1);
    EXPECT_EQ(read_file("/usr/kumel/volmgr/debug/file"), "kept");
    EXPECT_FALSE(exists("/usr/kumel/volmgr/debug/robots"));
}

TEST_F(Restore, MakesRemovedLogDirectoriesAgain) {
    make_folder(logs_folder + "/jobd/below");
    set_mode(logs_folder + "/jobd", 01770);
    give_away(logs_folder + "/jobd");
    const Snapshot before = take_snapshot();
    save();
    remove_tree(logs_folder + "/jobd");
    expect_restored(before);
}

TEST_F(Restore, MakesNoLogDirectoryThroughALink) {
    const std::string path = logs_folder + "/app/x";
    make_folder(path + "/below/deeper");
    save();
    remove_tree(path);
    make_folder("/tmp/elsewhere");
    make_link("/tmp/elsewhere", path);
    const CommandRun run = restore();
    EXPECT_EQ(run.exit_status, 1);
    EXPECT_THAT(lines_of(run.errors),
                ElementsAre("zmlogstate: cannot make " + path + " again: File exists",
                            "zmlogstate: cannot make " + path + "/below again: " + path + " was not made",
                            "zmlogstate: cannot make " + path + "/below/deeper again: " + path + " was not made"));
    EXPECT_THAT(names_in("/tmp/elsewhere"), ElementsAre());
}

TEST_F(Restore, MakesNoLogDirectoryThroughALinkMadeMeanwhile) {
    make_folder(logs_folder + "/app/x/below");
    save();
    remove_tree(logs_folder + "/app/x/below");
    make_folder("/tmp/elsewhere");
    const CommandRun run = restore_while_swapping(logs_folder + "/app/x", "/tmp/elsewhere");
    EXPECT_EQ(run.exit_status, 1);
    EXPECT_EQ(run.errors,
              "zmlogstate: cannot make " + logs_folder + "/app/x/below again: its path goes through a link\n");
    EXPECT_THAT(names_in("/tmp/elsewhere"), ElementsAre());
}

TEST_F(Restore, RemovesNothingThroughALinkMadeMeanwhile) {
    make_folder(logs_folder + "/app/x");
    save();
    make_folder(logs_folder + "/app/x/new");
    write_file("/tmp/elsewhere/new/file", "kept");
    const CommandRun run = restore_while_swapping(logs_folder + "/app/x", "/tmp/elsewhere", {"--remove-logs"});
    EXPECT_EQ(run.exit_status, 1);
    EXPECT_EQ(run.errors, "zmlogstate: cannot remove the log directory " + logs_folder +
                              "/app/x/new: its path goes through a link\n");
    EXPECT_EQ(read_file("/tmp/elsewhere/new/file"), "kept");
}

TEST_F(Restore, FollowsALinkThatIsTheLogRoot) {
    make_folder("/usr/kumel/disk/jobd/below");
    remove_tree(logs_folder);
    make_link("/usr/kumel/disk", logs_folder);
    save();
    remove_tree("/usr/kumel/disk/jobd/below");
    make_folder("/usr/kumel/disk/jobd/new");
    expect_status(restore(), 0);
    EXPECT_THAT(names_in("/usr/kumel/disk/jobd"), ElementsAre("below"));
}

TEST_F(Restore, EndsWith1WhenSomethingDiffersAndAFileCannotBeRead) {
    save();
    remove_tree(store);
    make_folder(store);
    write_file(logs_folder + "/jobd/log", "kept");
    EXPECT_EQ(run_command({"diff", folder_}).exit_status, 2);
    EXPECT_EQ(restore().exit_status, 1);
}

TEST_F(Restore, RestoresTheOthersWhenOneFails) {
    save();
    write_file(store, "changed\n");
    remove_tree("/usr/kumel/java");
    const CommandRun run = restore();
    EXPECT_EQ(run.exit_status, 1);
    EXPECT_EQ(run.errors, "zmlogstate: cannot put " + console_file + " back: No such file or directory\n");
    EXPECT_EQ(read_file(store), "112.DebugLevel=1\n111.DebugLevel=3\nother\n");
}

TEST_F(Restore, ReplacesNoFolder) {
    save();
    remove_tree(store);
    make_folder(store + "/x");
    EXPECT_EQ(restore().exit_status, 2);
    EXPECT_TRUE(exists(store + "/x"));
}

TEST_F(Restore, ContinuesWhenNobodyReadsItsOutput) {
    const Snapshot before = take_snapshot();
    save();
    raise_all_logging();
    EXPECT_EQ(run_command({"restore", folder_}, with_output_to("/dev/full")).exit_status, 255);
    EXPECT_EQ(take_snapshot(), before);
}

TEST_F(Restore, ContinuesWhenThePipeOfItsOutputIsClosed) {
    const Snapshot before = take_snapshot();
    save();
    raise_all_logging();
    const auto without_reader = [] {
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe(ends.data()), 0);
        ASSERT_EQ(dup2(ends[1], STDOUT_FILENO), STDOUT_FILENO);
        ASSERT_EQ(close(ends[0]), 0);
    };
    EXPECT_EQ(run_command({"restore", folder_}, without_reader).exit_status, 255);
    EXPECT_EQ(take_snapshot(), before);
}

TEST_F(Restore, RunsTwiceAtOnceAndRestoresEverything) {
    const Snapshot before = take_snapshot();
    save();
    for (int round = 0; round != 5; ++round) {
        raise_all_logging();
        Command one({"restore", folder_});
        Command other({"restore", folder_});
        EXPECT_EQ(one.finish().exit_status, 0);
        EXPECT_EQ(other.finish().exit_status, 0);
        expect_restored(before);
    }
}

TEST_F(Restore, WaitsForARewriteThatHoldsTheLock) {
    const Snapshot before = take_snapshot();
    save();
    const Descriptor lock(open((store + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(flock(lock.get(), LOCK_EX), 0);
    write_file(store, "half of the rewrite\n");
    Command waiting({"restore", folder_});
    await_waiter(lock);
    EXPECT_EQ(read_file(store), "half of the rewrite\n");
    write_file(store, "all of the rewrite\n");
    ASSERT_EQ(flock(lock.get(), LOCK_UN), 0);
    expect_status(waiting.finish(), 0);
    EXPECT_EQ(take_snapshot(), before);
}

// Whichever ends last, every file is whole and has its unchanged lines.
TEST_F(Restore, LeavesWholeFilesDuringARunningRequest) {
    const Snapshot before = take_snapshot();
    save();
    for (int round = 0; round != 10; ++round) {
        Agent agent;
        agent.send(raise_everything());
        const CommandRun run = restore();
        EXPECT_THAT(run.exit_status, testing::AnyOf(0, 1)) << run.errors;
        EXPECT_EQ(agent.finish().status(), 0);
        EXPECT_THAT(lines_of(read_file(main_configuration)),
                    testing::IsSupersetOf({"SERVER = localhost", "OTHER = 1"}));
        EXPECT_THAT(lines_of(read_file(store)), testing::IsSupersetOf({"112.DebugLevel=1", "other"}));
        EXPECT_THAT(lines_of(read_file(registered_file)), Contains("other=1"));
        EXPECT_THAT(lines_of(read_file(container_file)), Contains("other"));
        expect_restored(before);
    }
}
