// The words of requests, and the tools that some of them run.
#include "tests/end_to_end/tool_messages.h"
#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_tree.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"

namespace {

using log_level::error;
using log_level::information;

struct ToolWord {
    std::string word;
    std::string tool;
};

std::ostream& operator<<(std::ostream& out, const ToolWord& word) {
    return out << word.word;
}

class ExternalWord : public testing::TestWithParam<ToolWord> {};

TEST_P(ExternalWord, RunsItsTool) {
    const auto& [word, tool] = GetParam();
    make_product_tree();
    install_tool(tool, {stand_in::print_arguments()});
    const AgentRun run = run_agent({word, "-a", "two words"});
    EXPECT_EQ(run.output(), "[" + tool + "]\n[-a]\n[two words]\n\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({information, "is_cmd_valid", "command is valid & external C=" + word}));
    EXPECT_THAT(run.request_log(), LogIs(messages_of_run(word, tool)));
}

INSTANTIATE_TEST_SUITE_P(, ExternalWord,
                         testing::Values(ToolWord{"zmsu", zmsu_tool}, ToolWord{"zmcplogs", zmcplogs_tool},
                                         ToolWord{"versioninfo", versioninfo_tool},
                                         ToolWord{"ktlogcfg", ktlogcfg_tool}),
                         [](const auto& word) { return word.param.word; });

class BuiltInWord : public testing::TestWithParam<std::string> {};

TEST_P(BuiltInWord, IsValid) {
    make_product_tree();
    const AgentRun run = run_agent({GetParam()});
    EXPECT_THAT(run.log, LogHas({information, "is_cmd_valid", "command is valid C=" + GetParam()}));
    EXPECT_NE(run.status(), 5764);
}

INSTANTIATE_TEST_SUITE_P(, BuiltInWord,
                         testing::Values("ENABLELOGGING", "DISABLELOGGING", "FETCHFILE", "RESETLOGGING", "RUNZMSU",
                                         "RUNZMCPLOGS", "CALCLOGSIZE", "GETDISKSPACE", "ZMLA", "CLEANUP"),
                         [](const auto& word) { return word.param; });

struct RejectedWord {
    std::string name;
    std::string word;
};

std::ostream& operator<<(std::ostream& out, const RejectedWord& word) {
    return out << word.name;
}

class UnknownWord : public testing::TestWithParam<RejectedWord> {};

TEST_P(UnknownWord, IsRejectedAndRunsNothing) {
    const std::string& word = GetParam().word;
    make_product_tree();
    for (const std::string& tool : {zmsu_tool, zmcplogs_tool, zmlogadm_tool, versioninfo_tool, ktlogcfg_tool}) {
        install_tool(tool, {stand_in::print("ran")});
    }
    const AgentRun run = run_agent({word, "argument"});
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 5764);
    EXPECT_EQ(run.exit_status(), 5764 & 0xff);
    EXPECT_THAT(run.log, LogHas({error, "is_cmd_valid", "command is not valid C=" + word + " RV=5764"}));
    EXPECT_THAT(run.request_log(), LogIs({}));
}

INSTANTIATE_TEST_SUITE_P(, UnknownWord,
                         testing::Values(RejectedWord{"ToolThatOnlyZmlaRuns", "zmlogadm"},
                                         RejectedWord{"UpperCase", "ZMSU"}, RejectedWord{"LowerCase", "fetchfile"},
                                         RejectedWord{"LongerWord", "zmsux"}, RejectedWord{"ShorterWord", "zms"},
                                         RejectedWord{"LeadingSpace", " zmsu"}, RejectedWord{"TrailingSpace", "zmsu "},
                                         RejectedWord{"Path", "/bin/sh"}, RejectedWord{"FileOfTheTool", "old_zmsu"},
                                         RejectedWord{"Empty", ""}),
                         name_of_row);

}  // namespace
