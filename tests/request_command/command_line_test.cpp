// What the command does with its command line; options_test.cpp has what each option means.
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
        EXPECT_EQ(run.output, help_text);
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
    EXPECT_EQ(run.errors,
              "zmlogadm: unrecognized option '--unknown'\n"
              "zmlogadm: the options are not valid (zmlogadm --help tells more)\n");
}

TEST(CommandLine, AMissingWordIsToldWithAHint) {
    const CommandRun run = run_command({});
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "zmlogadm: a request word is missing (zmlogadm --help tells more)\n");
}

struct RefusedLine {
    std::string name;
    Arguments options;
    Arguments request = {"CLEANUP"};
};

void PrintTo(const RefusedLine& line, std::ostream* stream) {
    *stream << line.name;
}

class RefusedCommandLine : public testing::TestWithParam<RefusedLine> {};

TEST_P(RefusedCommandLine, ConnectsToNobody) {
    const ScratchFolder folder;
    const PeerListener socket = PeerListener::at_path(folder.path("socket"));
    const CommandRun run = run_command(socket.options() + GetParam().options + GetParam().request);
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr("(zmlogadm --help tells more)\n"));
    EXPECT_FALSE(socket.has_connection());
}

INSTANTIATE_TEST_SUITE_P(
    Lines, RefusedCommandLine,
    testing::Values(RefusedLine{"UnknownOption", {"-x"}}, RefusedLine{"NoWord", {}, {}},
                    RefusedLine{"SocketAndHost", {"-H", "localhost"}}, RefusedLine{"SocketAndLocal", {"-l"}},
                    RefusedLine{"SocketAndPort", {"-p", "5"}}, RefusedLine{"SocketAndAgent", {"--agent", "/bin/true"}},
                    RefusedLine{"TimeoutOfNothing", {"-t", "0"}}, RefusedLine{"LongWord", {}, {std::string(2048, 'x')}},
                    RefusedLine{"LongArgument", {}, {"CLEANUP", std::string(2048, 'x')}}),
    [](const testing::TestParamInfo<RefusedLine>& row) { return row.param.name; });

}  // namespace
