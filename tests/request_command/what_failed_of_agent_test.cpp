// What the command reports about requests that fail in part, with the real agent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/request_command/command_run.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"
#include "tests/support/tested_program.h"

namespace {

constexpr const char* store = "/usr/kumel/ktul/51216.conf";
constexpr const char* success = "EXIT STATUS 0 the requested operation was successfully completed\n";

class WhatFailedOfAgent : public ProductTest {
  protected:
    static CommandRun run(const Arguments& arguments) {
        return run_command(Arguments{"--strict", "--agent", tested_program(ZMLA_AGENT_FILE)} + arguments);
    }
};

TEST_F(WhatFailedOfAgent, IsFiveOfNineItems) {
    write_file(store, "111.DebugLevel=1\n");
    const CommandRun result =
        run({"ENABLELOGGING", "ZMKTUL:111=4,112=7,113=8,114=9", "QPKTUL:118", "VMCONF:vmd", "ZMLOGDIR:jobd,a,b"});
    EXPECT_EQ(result.errors, std::string(success) +
                                 "zmlogadm: 5 of 9 items failed: ZMKTUL:112, ZMKTUL:113, ZMKTUL:114, QPKTUL:118, "
                                 "VMCONF:vmd; 0 things not answered\n");
    EXPECT_EQ(result.exit_status, 1);
}

TEST_F(WhatFailedOfAgent, IsAnUnknownCategory) {
    const CommandRun result = run({"ENABLELOGGING", "FOO:111=6"});
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, std::string(success) + "zmlogadm: 0 of 0 items failed; 1 thing not answered: FOO\n");
    EXPECT_EQ(result.exit_status, 1);
}

TEST_F(WhatFailedOfAgent, IsACategoryWithoutAnAnswer) {
    const CommandRun result = run({"ENABLELOGGING", "KOB:kob=99", "ZMLOGDIR:jobd"});
    EXPECT_EQ(result.errors, std::string(success) + "zmlogadm: 0 of 1 item failed; 1 thing not answered: KOB\n");
}

TEST_F(WhatFailedOfAgent, IsALineThatLostItsNewline) {
    const std::string name(2000, 'n');
    const CommandRun result = run({"ENABLELOGGING", "MMLOGDIR:" + name, "MMLOGDIR:a"});
    EXPECT_EQ(result.errors, std::string(success) + "zmlogadm: 1 of 2 items failed: MMLOGDIR:" +
                                 std::string(1023 - 17, 'n') + "; 0 things not answered\n");
    EXPECT_EQ(result.exit_status, 1);
}

TEST_F(WhatFailedOfAgent, IsADirectoryWithoutSpace) {
    const CommandRun result = run({"GETDISKSPACE", "/tmp/", "/none/of/these", "/tmp/none", "/"});
    EXPECT_EQ(result.errors,
              std::string(success) + "zmlogadm: 0 of 0 items failed; 1 thing not answered: /none/of/these\n");
    EXPECT_EQ(result.exit_status, 1);
}

TEST_F(WhatFailedOfAgent, IsAnEarlierCleanUp) {
    const std::string name = "/zmla-12345678901234567890123456789-abcdef";
    make_folder("/tmp/one" + name);
    const CommandRun result = run({"CLEANUP", "/tmp", "/tmp/one" + name});
    EXPECT_EQ(result.errors, std::string(success) + "zmlogadm: 1 of 2 items failed: /tmp; 0 things not answered\n");
}

TEST_F(WhatFailedOfAgent, IsNotPrintedWhenAMisplacedOptionStopsTheRequest) {
    write_file(store, "111.DebugLevel=1\n");
    for (const Arguments& misplaced :
         {Arguments{"-H", "backup7"}, Arguments{"--host=backup7"}, Arguments{"-Hbackup7"}}) {
        const CommandRun result = run(Arguments{"ENABLELOGGING", "ZMKTUL:111=4"} + misplaced);
        EXPECT_EQ(result.errors,
                  "zmlogadm: put the option " + misplaced[0] + " in front of ENABLELOGGING (see zmlogadm --help)\n");
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.exit_status, 255);
        EXPECT_EQ(read_file(store), "111.DebugLevel=1\n");
    }
}

}  // namespace
