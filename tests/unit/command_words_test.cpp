#include "commands/external_commands.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::messages;

using log_level::error;
using log_level::information;

class IsCmdValid : public AgentTest {};

TEST_F(IsCmdValid, AcceptsTheToolsAsExternal) {
    for (const std::string word : {"zmsu", "zmcplogs", "ktlogcfg", "versioninfo"}) {
        recording_platform::reset();
        bool is_external = false;
        EXPECT_EQ(is_cmd_valid(word, is_external), 0) << word;
        EXPECT_TRUE(is_external) << word;
        EXPECT_EQ(messages(), (Lines{{information, "is_cmd_valid", "command is valid & external C=" + word}}));
    }
}

TEST_F(IsCmdValid, AcceptsTheRequestWordsAsBuiltIn) {
    for (const std::string word : {"ENABLELOGGING", "DISABLELOGGING", "FETCHFILE", "RESETLOGGING", "RUNZMSU",
                                   "RUNZMCPLOGS", "CALCLOGSIZE", "GETDISKSPACE", "ZMLA", "CLEANUP"}) {
        recording_platform::reset();
        bool is_external = true;
        EXPECT_EQ(is_cmd_valid(word, is_external), 0) << word;
        EXPECT_FALSE(is_external) << word;
        EXPECT_EQ(messages(), (Lines{{information, "is_cmd_valid", "command is valid C=" + word}}));
    }
}

TEST_F(IsCmdValid, RejectsAnyOtherWord) {
    for (const std::string word : {"", "zmlogadm", "ZMSU", "Zmsu", "zmsu ", " zmsu", "zmsu2", "enablelogging",
                                   "CLEANUPS", "CLEAN", "/bin/sh", "%s%n"}) {
        recording_platform::reset();
        bool is_external = true;
        EXPECT_EQ(is_cmd_valid(word, is_external), 5764) << word;
        EXPECT_FALSE(is_external) << word;
        EXPECT_EQ(messages(), (Lines{{error, "is_cmd_valid", "command is not valid C=" + word + " RV=5764"}}));
    }
}

class GetCommandPath : public AgentTest {};

TEST_F(GetCommandPath, ReturnsTheToolOfEachWord) {
    const std::vector<std::pair<std::string, std::string>> paths = {
        {"zmsu", "/usr/kumel/zembrath/bin/support/old_zmsu"},
        {"RUNZMSU", "/usr/kumel/zembrath/bin/support/old_zmsu"},
        {"zmcplogs", "/usr/kumel/zembrath/bin/support/zmcplogs"},
        {"RUNZMCPLOGS", "/usr/kumel/zembrath/bin/support/zmcplogs"},
        {"CALCLOGSIZE", "/usr/kumel/zembrath/bin/support/zmcplogs"},
        {"versioninfo", "/usr/kumel/zembrath/bin/goodies/support/versioninfo"},
        {"ktlogcfg", "/usr/kumel/zembrath/bin/private/ktlogcfg"},
        {"zmlogadm", "/usr/kumel/zembrath/bin/support/zmlogadm"},
        {"ZMLA", "/usr/kumel/zembrath/bin/support/zmlogadm"}};
    for (const auto& [word, path] : paths) {
        recording_platform::reset();
        EXPECT_EQ(getcommandpath(word), path);
        EXPECT_EQ(messages(), (Lines{{information, "getcommandpath", "full cmd path N=" + word + " P=" + path}}));
    }
}

TEST_F(GetCommandPath, IsEmptyForAnyOtherWord) {
    for (const std::string word : {"", "ENABLELOGGING", "old_zmsu", "Zmsu", "runzmsu", "zmla"}) {
        recording_platform::reset();
        EXPECT_EQ(getcommandpath(word), "") << word;
        EXPECT_EQ(messages(), (Lines{{information, "getcommandpath", "full cmd path N=" + word + " P="}}));
    }
}

}  // namespace
