// Fails every system call of a save and of a restore, one run for each, and kills them at each.
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <cerrno>
#include <functional>
#include <string>

#include "tests/reliability/faulty_run.h"
#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

namespace {

const std::vector<FaultPlan> plans = {
    {"InputOutputErrorOnce", fail_once(EIO)},
    {"InputOutputErrorEverAfter", fail_ever_after(EIO)},
    {"NoSpaceOnce", fail_once(ENOSPC)},
    {"NoSpaceEverAfter", fail_ever_after(ENOSPC)},
    {"NoDescriptorOnce", fail_once(EMFILE)},
    {"InterruptedOnce", fail_once(EINTR)},
    {"ShortTransferOnce", {.kind = Fault::Kind::short_transfer}},
    {"KilledAtOnce", {.kind = Fault::Kind::kill}},
};

std::string describe(const FaultyRun& run, int number) {
    return "call " + std::to_string(number) + ", " + name_of_call(run.first_call);
}

}  // namespace

class Faults : public StateTest, public testing::WithParamInterface<FaultPlan> {
  protected:
    // Runs the command with the fault at its first call, at its second one, and so on. Calls `check` for each run in
    // which the command's own code had begun.
    void for_each_call(const Arguments& arguments, const std::function<void()>& prepare,
                       const std::function<void(const FaultyRun&)>& check) {
        int checked = 0;
        for (int number = 1;; ++number) {
            prepare();
            Fault fault = GetParam().fault;
            fault.number = number;
            const FaultyRun run = run_program_with_fault(zmlogstate(arguments), fault);
            if (run.faults == 0) {
                break;
            }
            if (run.began) {
                SCOPED_TRACE(describe(run, number));
                check(run);
                ++checked;
            }
            if (HasFailure()) {
                break;
            }
        }
        EXPECT_GT(checked, GetParam().fault.kind == Fault::Kind::kill ? 200 : 20);
    }

    static bool ended_with(const FaultyRun& run, int status) {
        return WIFEXITED(run.wait_status) && WEXITSTATUS(run.wait_status) == status;
    }
};
INSTANTIATE_TEST_SUITE_P(At, Faults, testing::ValuesIn(plans),
                         [](const testing::TestParamInfo<FaultPlan>& plan) { return plan.param.name; });

// The command reports a file that it could not read, and never takes it for a missing one.
TEST_P(Faults, OfASaveLeaveItWholeOrMissing) {
    const Snapshot before = take_whole_snapshot();
    for_each_call(
        {"save", folder_},
        [] {
            remove_tree("/tmp");
            make_folder("/tmp");
        },
        [&](const FaultyRun& run) {
            EXPECT_EQ(take_whole_snapshot(), before);
            if (exists(folder_)) {
                const CommandRun diff = run_command({"diff", folder_});
                EXPECT_THAT(diff.exit_status, testing::AnyOf(0, 2)) << diff.output << diff.errors;
                EXPECT_EQ(diff.output, "");
                EXPECT_EQ(run.wait_status == 0 && diff.exit_status != 0, false) << diff.errors;
            } else {
                EXPECT_FALSE(ended_with(run, 0) || ended_with(run, 2));
            }
            if (GetParam().fault.kind != Fault::Kind::kill && !GetParam().fault.ever_after) {
                EXPECT_THAT(names_in("/tmp"), testing::IsSubsetOf({"case"}));
            }
        });
}

TEST_P(Faults, OfARestoreLeaveFilesUnchangedOrRestoredForTheNextOneToFinish) {
    const std::string removed = logs_folder + "/removed";
    make_folder(removed);
    set_mode(removed, 01750);
    const Snapshot before = take_snapshot();
    save();
    raise_all_logging();
    remove_tree(removed);
    const Snapshot raised = take_snapshot();
    remove_tree("/tmp/raised");
    ASSERT_EQ(system("cp -a /usr/kumel /tmp/raised"), 0);
    for_each_call(
        {"restore", folder_}, [] { ASSERT_EQ(system("rm -rf /usr/kumel/* && cp -a /tmp/raised/. /usr/kumel/"), 0); },
        [&](const FaultyRun& run) {
            const Snapshot after = take_snapshot();
            for (const auto& [path, state] : before) {
                ASSERT_EQ(after.count(path) == 1 || path == removed, true) << path;
                const NameState now = after.count(path) == 0 ? NameState() : after.at(path);
                const NameState then = path == removed ? NameState() : raised.at(path);
                EXPECT_TRUE(now == state || now == then) << path << now;
            }
            EXPECT_TRUE(!ended_with(run, 0) || after == before);
            expect_status(run_command({"restore", folder_}), 0);
            EXPECT_EQ(take_snapshot(), before);
        });
}
