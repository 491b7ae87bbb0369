// What the command reports, and its exit status, when an answer contains failures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/request_command/answered_command.h"

namespace {

class WhatFailed : public AnsweredCommand {
  protected:
    [[nodiscard]] CommandRun run_with(const Arguments& options, const std::string& answer,
                                      const Arguments& request = {"ENABLELOGGING", "VMCONF:a", "FOO:b"}) {
        options_ = options;
        return run_with_answer(answer, nullptr, request);
    }
};

const std::string one_of_two = "PROCESS=VMCONF:a STATUS=0 MSG=Set debug logging\nEXIT STATUS 0 done\n";

TEST_F(WhatFailed, IsNamedAfterTheStatusLine) {
    const CommandRun run = run_with({}, one_of_two);
    EXPECT_EQ(run.errors, "EXIT STATUS 0 done\nzmlogadm: 0 of 1 item failed; 1 thing not answered: FOO\n");
    EXPECT_EQ(run.exit_status, 0);
}

TEST_F(WhatFailed, BeginsALineAfterACutStatusLine) {
    const CommandRun run = run_with({}, "EXIT STATUS 0 done");
    EXPECT_EQ(run.errors, "EXIT STATUS 0 done\nzmlogadm: 0 of 0 items failed; 2 things not answered: VMCONF, FOO\n");
}

TEST_F(WhatFailed, IsNamedBesideJsonToo) {
    const CommandRun run = run_with({"--json"}, one_of_two);
    EXPECT_EQ(run.errors, "zmlogadm: 0 of 1 item failed; 1 thing not answered: FOO\n");
    EXPECT_THAT(run.output,
                testing::HasSubstr("\"items\":1,\"failed\":0,\"not_answered\":1,\"unanswered\":[\"FOO\"]}\n"));
}

TEST_F(WhatFailed, IsAFailureOfTheCommandWhenStrict) {
    EXPECT_EQ(run_with({"--strict"}, one_of_two).exit_status, 1);
    EXPECT_EQ(run_with({"--strict", "--json"}, one_of_two).exit_status, 1);
    EXPECT_EQ(
        run_with({"--strict"}, "PROCESS=VMCONF:a STATUS=1 MSG=no\nPROCESS=FOO:b STATUS=0 MSG=x\nEXIT STATUS 0 d\n")
            .exit_status,
        1);
    EXPECT_EQ(run_with({"--strict"}, "EXIT STATUS 0 done\n", {"CLEANUP"}).exit_status, 1);
}

TEST_F(WhatFailed, LeavesAnotherStatusUnchanged) {
    EXPECT_EQ(run_with({"--strict"}, "PROCESS=VMCONF:a STATUS=1 MSG=no\nEXIT STATUS 29 no\n").exit_status, 29);
    EXPECT_EQ(run_with({"--strict"}, "PROCESS=VMCONF:a STATUS=1 MSG=no\nEXIT STATUS 5772 no\n").exit_status, 252);
}

TEST_F(WhatFailed, IsNotReportedWithoutAStatusLine) {
    for (const Arguments& options : {Arguments{"--strict"}, Arguments{"--strict", "--json"}}) {
        const CommandRun run = run_with(options, "PROCESS=VMCONF:a STATUS=1 MSG=no\n");
        EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line\n");
        EXPECT_EQ(run.exit_status, 255);
    }
}

TEST_F(WhatFailed, IsNotPrintedWhenAllSucceed) {
    const CommandRun run =
        run_with({"--strict"}, "PROCESS=VMCONF:a STATUS=0 MSG=x\nPROCESS=FOO:b STATUS=0 MSG=x\nEXIT STATUS 0 done\n");
    EXPECT_EQ(run.errors, "EXIT STATUS 0 done\n");
    EXPECT_EQ(run.exit_status, 0);
}

}  // namespace
