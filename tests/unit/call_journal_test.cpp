#include "tests/support/call_journal.h"

#include "tests/unit/agent_test.h"

namespace {

constexpr int number = 5000;

void append_entries() {
    for (int i = 0; i < number; ++i) {
        call_journal::append(call_journal::Kind::call, {"call"});
    }
}

class CallJournal : public AgentTest {};

TEST_F(CallJournal, KeepsAllEntriesOfTwoProcessesThatAppendAtOnce) {
    call_journal::clear();
    const int child = children::start();
    append_entries();
    if (child == 0) {
        children::end(0);
    }
    EXPECT_EQ(children::wait(child), 0);
    EXPECT_EQ(call_journal::entries().size(), 2U * number);
    recording_platform::reset();
}

}  // namespace
