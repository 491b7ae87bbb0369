// The command line and its errors. options_test.cpp has the meaning of each option.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "request_command/options.h"
#include "tests/request_command/command_run.h"
#include "tests/support/scripted_peer.h"
#include "tests/support/test_files.h"

namespace {

using testing::HasSubstr;

TEST(CommandLine, HelpGoesToStandardOutput) {
    for (const char* option : {"-h", "--help"}) {
        const CommandRun run = run_command({option});
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_EQ(run.output, help_text());
        EXPECT_EQ(run.errors, "");
    }
}

TEST(CommandLine, VersionGoesToStandardOutput) {
    for (const char* option : {"-V", "--version"}) {
        const CommandRun run = run_command({option});
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_EQ(run.output, "zmlogadm " ZMLA_COMMAND_VERSION "\n");
        EXPECT_EQ(run.errors, "");
    }
}

TEST(CommandLine, HelpThatCannotBeWrittenIsAFailure) {
    const CommandRun run = run_command({"--help"}, with_output_to("/dev/full"));
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.errors, "zmlogadm: cannot write to standard output: No space left on device\n");
}

TEST(CommandLine, AnUnknownOptionIsNamedWithAHint) {
    const CommandRun run = run_command({"--unknown", "CLEANUP"});
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "zmlogadm: there is no option --unknown (see zmlogadm --help)\n");
}

TEST(CommandLine, AMissingWordIsReportedWithAHint) {
    const CommandRun run = run_command({});
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "zmlogadm: a request word is missing (see zmlogadm --help)\n");
}

struct RejectedLine {
    std::string name;
    Arguments options;
    Arguments request = {"CLEANUP"};
};

const std::vector<RejectedLine> rejected_lines = {
    {"unknown option", {"-x"}},
    {"no word", {}, {}},
    {"socket and host", {"-H", "localhost"}},
    {"socket and local", {"-l"}},
    {"socket and port", {"-p", "5"}},
    {"socket and agent", {"--agent", "/bin/true"}},
    {"time-out of nothing", {"-t", "0"}},
    {"misplaced host", {}, {"ENABLELOGGING", "ZMKTUL:111=4", "-H", "backup7"}},
    {"misplaced option", {}, {"CLEANUP", "/a", "--json"}},
    {"long word", {}, {std::string(2048, 'x')}},
    {"long argument", {}, {"CLEANUP", std::string(2048, 'x')}},
};

TEST(CommandLine, ThatIsRejectedMakesNoConnection) {
    const ScratchFolder folder;
    const PeerListener listener = PeerListener::at_path(folder.path("socket"));
    for (const RejectedLine& line : rejected_lines) {
        const CommandRun run = run_command(listener.options() + line.options + line.request);
        EXPECT_EQ(run.exit_status, 255) << line.name;
        EXPECT_EQ(run.output, "") << line.name;
        EXPECT_THAT(run.errors, HasSubstr("(see zmlogadm --help)\n")) << line.name;
        EXPECT_FALSE(listener.has_connection()) << line.name;
    }
}

}  // namespace
