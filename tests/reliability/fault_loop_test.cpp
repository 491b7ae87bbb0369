// Fails every system call of every kind of request, one run for each, and checks the files, the answer and the next
// request.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <tuple>

#include "tests/reliability/faulty_run.h"
#include "tests/reliability/scenarios.h"
#include "tests/support/test_files.h"

namespace {

// No plan repeats EINTR for ever: no system does that, and a correct program would retry without end.
const std::vector<FaultPlan> plans = {
    {"InputOutputErrorOnce", fail_once(EIO)},
    {"InputOutputErrorEverAfter", fail_ever_after(EIO)},
    {"NoSpaceOnce", fail_once(ENOSPC)},
    {"NoSpaceEverAfter", fail_ever_after(ENOSPC)},
    {"NoDescriptorOnce", fail_once(EMFILE)},
    {"NoDescriptorEverAfter", fail_ever_after(EMFILE)},
    {"NoMemoryOnce", fail_once(ENOMEM)},
    {"NoMemoryEverAfter", fail_ever_after(ENOMEM)},
    {"InterruptedOnce", fail_once(EINTR)},
    {"ShortTransferOnce", {.kind = Fault::Kind::short_transfer}},
    {"ShortTransferEverAfter", {.kind = Fault::Kind::short_transfer, .ever_after = true}},
    {"KilledAtOnce", {.kind = Fault::Kind::kill}},
};

// The text of a path; nothing if it is missing.
using State = std::optional<std::string>;

State state_of(const ChangedPath& change) {
    if (!exists(change.path)) {
        return std::nullopt;
    }
    // Of a path that is made, only its existence counts.
    return change.rules == Rules::made ? "" : read_file(change.path);
}

std::string folder_of(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

// Returns the names in the folders of the rewritten files.
std::set<std::string> names_beside(const Scenario& scenario) {
    std::set<std::string> names;
    for (const ChangedPath& change : scenario.changes) {
        if (change.rules == Rules::safe_rewrite) {
            const std::string folder = folder_of(change.path);
            for (const std::string& name : names_in(folder)) {
                names.insert(folder + "/" + name);
            }
        }
    }
    return names;
}

// The outcome of a scenario without a fault.
struct Expectation {
    std::vector<State> before;
    std::vector<State> after;
    std::set<std::string> names;
    std::optional<int> status;
};

Expectation run_without_fault(const Scenario& scenario) {
    Expectation expected;
    set_up(scenario);
    for (const ChangedPath& change : scenario.changes) {
        expected.before.push_back(state_of(change));
    }
    const FaultyRun run = run_with_fault(connect_and_ask(scenario), {});
    for (const ChangedPath& change : scenario.changes) {
        expected.after.push_back(state_of(change));
        EXPECT_NE(run.received.find(change.claim), std::string::npos) << run.received;
    }
    expected.names = names_beside(scenario);
    expected.status = run.status();
    return expected;
}

// Returns whether the text consists of whole lines, each from one of the two texts.
bool has_lines_of(const std::string& text, const std::string& before, const std::string& after) {
    const std::string all = "\n" + before + "\n" + after;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (all.find("\n" + line + "\n") == std::string::npos) {
            return false;
        }
    }
    return text.empty() || text.ends_with('\n');
}

bool is_of(long call, std::initializer_list<long> calls) {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

// The checks of one run with a fault.
class Aftermath {
  public:
    Aftermath(const Scenario& scenario, const Expectation& expected, const Fault& fault, const FaultyRun& run)
        : scenario_(scenario), expected_(expected), fault_(fault), run_(run) {}

    void check() const {
        check_end();
        for (std::size_t i = 0; i < scenario_.changes.size(); ++i) {
            check_change(scenario_.changes[i], expected_.before[i], expected_.after[i]);
        }
        if (!may_leave_temporary()) {
            check_names(names_beside(scenario_));
        }
        check_next_request();
    }

  private:
    // The agent exits, unless it was killed, aborted without memory, or had not begun.
    void check_end() const {
        if (WIFSIGNALED(run_.wait_status)) {
            const int signal = WTERMSIG(run_.wait_status);
            const bool was_killed = signal == SIGKILL && fault_.kind == Fault::Kind::kill;
            // A C library whose abort fails too ends with an invalid instruction.
            const bool gave_up = signal == SIGABRT || (signal == SIGSEGV && fault_.ever_after);
            EXPECT_TRUE(was_killed || gave_up || !run_.began) << "ended by signal " << signal;
        } else if (run_.received.find("EXIT STATUS ") != std::string::npos) {
            EXPECT_TRUE(run_.status() || status_line_may_not_be_last()) << run_.received;
        }
    }

    // Sending fails, or the agent does not wait for the tool, which continues to write.
    [[nodiscard]] bool status_line_may_not_be_last() const {
        return (fault_.ever_after && fault_.kind == Fault::Kind::error) || run_.first_call == SYS_wait4;
    }

    [[nodiscard]] bool data_may_be_lost() const {
        const bool loses = fault_.kind == Fault::Kind::error && fault_.error != EINTR;
        return loses && (fault_.ever_after || is_of(run_.first_call, {SYS_read, SYS_write, SYS_brk, SYS_mmap}));
    }

    void check_change(const ChangedPath& change, const State& before, const State& after) const {
        const State now = state_of(change);
        const bool is_mixed = now && before && after && has_lines_of(*now, *before, *after);
        if (change.rules == Rules::key_value && data_may_be_lost()) {
            EXPECT_TRUE(is_mixed) << change.path << ":\n" << now.value_or("(missing)");
            return;
        }
        EXPECT_TRUE(now == before || now == after || (change.in_two_steps && is_mixed)) << change.path << ":\n"
                                                                                        << now.value_or("(missing)");
        const bool claimed = !change.claim.empty() && run_.received.find(change.claim) != std::string::npos;
        EXPECT_TRUE(!claimed || now == after) << change.path << " is not as the answer says:\n" << run_.received;
        if (change.rules == Rules::safe_rewrite) {
            EXPECT_EQ(mode_of(change.path), 0640U) << change.path;
        }
    }

    // A killed agent leaves its temporary file, and so does one that cannot remove it.
    [[nodiscard]] bool may_leave_temporary() const {
        return fault_.kind == Fault::Kind::kill || fault_.ever_after ||
               is_of(run_.first_call, {SYS_unlink, SYS_unlinkat}) || WIFSIGNALED(run_.wait_status);
    }

    void check_names(const std::set<std::string>& names) const {
        for (const std::string& name : names) {
            EXPECT_TRUE(expected_.names.contains(name)) << name << " was left behind";
        }
    }

    void check_next_request() const {
        const FaultyRun next = run_with_fault(connect_and_ask(scenario_), {});
        if (scenario_.name == "CleanUp") {
            // The first run may have removed the directory, which changes the status.
            EXPECT_TRUE(next.status());
        } else {
            EXPECT_EQ(next.status(), expected_.status) << next.received;
        }
        for (std::size_t i = 0; i < scenario_.changes.size(); ++i) {
            const ChangedPath& change = scenario_.changes[i];
            if (change.rules == Rules::safe_rewrite || !data_may_be_lost()) {
                EXPECT_EQ(state_of(change), expected_.after[i]) << change.path;
            }
        }
        check_names(names_beside(scenario_));
    }

    const Scenario& scenario_;
    const Expectation& expected_;
    const Fault& fault_;
    const FaultyRun& run_;
};

// The quick tests fail only every fourth call, and each test begins at another one.
int stride() {
    constexpr int quick = 4;
    return getenv("ZMLA_ALL_FAULTS") != nullptr ? 1 : quick;
}

int first_number(const std::string& test) {
    return 1 + static_cast<int>(std::hash<std::string>()(test) % static_cast<std::size_t>(stride()));
}

class FaultLoop : public testing::TestWithParam<std::tuple<Scenario, FaultPlan>> {};

TEST_P(FaultLoop, DamagesNothingWhenAnyCallFails) {
    const auto& [scenario, plan] = GetParam();
    const Expectation expected = run_without_fault(scenario);
    Fault fault = plan.fault;
    for (fault.number = first_number(scenario.name + plan.name);; fault.number += stride()) {
        set_up(scenario);
        const FaultyRun run = run_with_fault(connect_and_ask(scenario), fault);
        if (run.faults == 0) {
            EXPECT_EQ(run.status(), expected.status);
            break;
        }
        SCOPED_TRACE("call " + std::to_string(fault.number) + ", " + name_of_call(run.first_call));
        Aftermath(scenario, expected, fault, run).check();
        if (HasFailure()) {
            break;
        }
    }
    RecordProperty("runs_with_faults", (fault.number - 1) / stride());
}

INSTANTIATE_TEST_SUITE_P(, FaultLoop, testing::Combine(testing::ValuesIn(scenarios()), testing::ValuesIn(plans)),
                         [](const testing::TestParamInfo<std::tuple<Scenario, FaultPlan>>& row) {
                             return std::get<0>(row.param).name + std::get<1>(row.param).name;
                         });

class AllocationLoop : public testing::TestWithParam<std::tuple<Scenario, bool>> {};

TEST_P(AllocationLoop, DamagesNothingWhenAnyAllocationFails) {
    const auto& [scenario, ever_after] = GetParam();
    const Expectation expected = run_without_fault(scenario);
    int number = first_number(scenario.name);
    for (;; number += stride()) {
        set_up(scenario);
        const FaultyRun run = run_with_failing_allocation(connect_and_ask(scenario), number, ever_after);
        if (run.faults == 0) {
            EXPECT_EQ(run.status(), expected.status);
            break;
        }
        SCOPED_TRACE("allocation " + std::to_string(number));
        Aftermath(scenario, expected, {.ever_after = ever_after, .number = number}, run).check();
        if (HasFailure()) {
            break;
        }
    }
    RecordProperty("runs_with_faults", (number - 1) / stride());
}

INSTANTIATE_TEST_SUITE_P(, AllocationLoop, testing::Combine(testing::ValuesIn(scenarios()), testing::Bool()),
                         [](const testing::TestParamInfo<std::tuple<Scenario, bool>>& row) {
                             return std::get<0>(row.param).name + (std::get<1>(row.param) ? "EverAfter" : "Once");
                         });

}  // namespace
