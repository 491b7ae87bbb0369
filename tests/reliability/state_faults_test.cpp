// Fails every system call of a save and of a restore, one after the other, and kills them at each.
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

struct Plan {
    std::string name;
    Fault fault;
};

std::ostream& operator<<(std::ostream& out, const Plan& plan) {
    return out << plan.name;
}

const std::vector<Plan> plans = {
    {"InputOutputErrorOnce", {.kind = Fault::Kind::error, .error = EIO}},
    {"InputOutputErrorEverAfter", {.kind = Fault::Kind::error, .error = EIO, .ever_after = true}},
    {"NoSpaceOnce", {.kind = Fault::Kind::error, .error = ENOSPC}},
    {"NoSpaceEverAfter", {.kind = Fault::Kind::error, .error = ENOSPC, .ever_after = true}},
    {"NoDescriptorOnce", {.kind = Fault::Kind::error, .error = EMFILE}},
    {"InterruptedOnce", {.kind = Fault::Kind::error, .error = EINTR}},
    {"ShortTransferOnce", {.kind = Fault::Kind::short_transfer}},
    {"KilledAtOnce", {.kind = Fault::Kind::kill}},
};

std::string describe(const FaultyRun& run, int number) {
    return "call " + std::to_string(number) + ", " + name_of_call(run.first_call);
}

}  // namespace

class Faults : public StateTest, public testing::WithParamInterface<Plan> {
  protected:
    // Runs it with the fault at its first call, at its second one, and so on. `check` sees each run in which the
    // command itself had begun.
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
                         [](const testing::TestParamInfo<Plan>& plan) { return plan.param.name; });

// What was not read is said to be so, and never taken for something that was not there.
TEST_P(Faults, OfASaveLeaveItWholeOrNotThereAtAll) {
    const Snapshot before = take_whole_snapshot();
    for_each_call(
        {"save", folder_},
        [this] {
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

TEST_P(Faults, OfARestoreLeaveEveryFileAsItWasOrPutBackAndTheNextOneRepairsAll) {
    const Snapshot before = take_snapshot();
    save();
    raise_all_logging();
    const Snapshot raised = take_snapshot();
    remove_tree("/tmp/raised");
    ASSERT_EQ(system("cp -a /usr/kumel /tmp/raised"), 0);
    for_each_call(
        {"restore", folder_}, [] { ASSERT_EQ(system("rm -rf /usr/kumel/* && cp -a /tmp/raised/. /usr/kumel/"), 0); },
        [&](const FaultyRun& run) {
            const Snapshot after = take_snapshot();
            for (const auto& [path, state] : before) {
                ASSERT_EQ(after.count(path), 1U) << path;
                EXPECT_TRUE(after.at(path) == state || after.at(path) == raised.at(path)) << path << after.at(path);
            }
            EXPECT_TRUE(!ended_with(run, 0) || after == before);
            expect_status(run_command({"restore", folder_}), 0);
            EXPECT_EQ(take_snapshot(), before);
        });
}
