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

// A user may pass on a name that came from elsewhere.
TEST(CommandLine, IsQuotedInOneLineWithoutControlCharacters) {
    EXPECT_EQ(run_command({"-t", "5\n", "CLEANUP"}).errors,
              "zmlogadm: the time-out must be a number from 1 to 86400, not \"5\\n\" (see zmlogadm --help)\n");
    EXPECT_EQ(run_command({"-H", "a\x1b[2J\nb", "CLEANUP"}).errors,
              "zmlogadm: cannot look up a\\x1b[2J\\nb: neither a host name nor an address\n");
    EXPECT_EQ(run_command({"-S", "/none\x1b[2J", "CLEANUP"}).errors,
              "zmlogadm: cannot connect to /none\\x1b[2J: No such file or directory\n");
    EXPECT_THAT(run_command({"-S", "/none", "CLEAN\x1bUP"}).errors,
                testing::StartsWith("zmlogadm: CLEAN\\x1bUP is not a known request word; did you mean CLEANUP?\n"));
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
