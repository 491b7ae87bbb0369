// Category KOB: the debug level of the connection broker, set by the broker's own tool.
#include <sys/mount.h>

#include <cerrno>
#include <system_error>
#include <tuple>

#include "tests/end_to_end/logging/logging_case.h"
#include "tests/support/product_test.h"
#include "tests/support/refused_calls.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

const std::string tool = "/opt/HOLKkob/bin/ktlogcfg";
const std::string fixed_arguments = " -a -p 50936 -o 103 -s DebugLevel=";
// The stand-in for the tool writes its arguments here, each followed by a zero byte.
const std::string arguments_file = "/tmp/arguments";

LogLine said(const std::string& text) {
    return logged(information, "process_kob", text);
}

LogLine rejected(const std::string& text) {
    return logged(error, "validate_kob_ctgyargs", text);
}

void install_stand_in(const std::vector<std::string>& further_steps = {}) {
    std::vector<std::string> steps = {stand_in::run("printf '%s\\0' \"$@\" > " + arguments_file)};
    steps.insert(steps.end(), further_steps.begin(), further_steps.end());
    install_tool(tool, steps);
}

// The seven arguments of the tool. The last one ends with the level.
FileState arguments_with(const std::string& level) {
    std::string text;
    for (const std::string& argument : {std::string("-a"), std::string("-p"), std::string("50936"), std::string("-o"),
                                        std::string("103"), std::string("-s"), "DebugLevel=" + level}) {
        text += argument + '\0';
    }
    return file(arguments_file, text);
}

// The tool runs with the level. The command line in the log ends with `shown`.
RequestCase run_of_tool(const std::string& name, const std::string& level, const std::string& shown) {
    const std::string line = "PROCESS=KOB:kob STATUS=0 MSG=Success\n";
    return {.name = name,
            .request = {"ENABLELOGGING", "KOB:kob=" + level},
            .prepare = [] { install_stand_in(); },
            .answer = {line},
            .log = {said("For C=KOB CA=" + level + " executing cmd=" + tool + fixed_arguments + shown),
                    said("Sending to caller: " + line), said("Completed w/ 0")},
            .after = {arguments_with(level)}};
}

// A level of only letters, digits and "_.+=-". The command line shows it as it is.
RequestCase plain(const std::string& name, const std::string& level) {
    return run_of_tool(name, level, level);
}

// A level with other bytes. It reaches the tool unchanged too. Any quoting in the command line will do.
RequestCase quoted(const std::string& name, const std::string& level) {
    return run_of_tool(name, level, "<text>");
}

RequestCase without_level(RequestCase row) {
    row.request[1] = "KOB:kob";
    return row;
}

RequestCase with_word(const std::string& word, RequestCase row) {
    row.request[0] = word;
    return row;
}

class ConnectionBroker : public RequestTable {};

TEST_P(ConnectionBroker, AnswersLogsAndChangesFiles) {
    check_logging(GetParam());
}

const std::vector<RequestCase> plain_levels = {
    plain("Five", "5"),
    plain("Zero", "0"),
    plain("Ten", "10"),
    plain("LeadingZero", "07"),
    plain("DigitsAndALetter", "3x"),
    plain("LettersAreLevelZero", "abc"),
    plain("PlusSign", "+5"),
    plain("MinusZero", "-0"),
    plain("Fraction", "1.5"),
    plain("FurtherEqualsSigns", "5=_.+=-"),
    plain("NothingAfterTheEqualsSign", ""),
    without_level(plain("NoEqualsSign", "")),
    with_word("DISABLELOGGING", plain("FiveToDisable", "5")),
    with_word("RESETLOGGING", plain("FiveToReset", "5")),
    // Only the low 32 bits are checked.
    plain("TwoToThePowerOf32AndFive", "4294967301"),
    plain("BelowTheSmallestNumberOf64Bits", "-99999999999999999999"),
    plain("LongText", "1" + std::string(2000, 'x')),
};

INSTANTIATE_TEST_SUITE_P(PlainLevel, ConnectionBroker, testing::ValuesIn(plain_levels), name_of_row);

// Without quotes, at least one shell would interpret each of these. Here none does: no file /tmp/x appears, and the
// tool gets the text unchanged.
const std::vector<RequestCase> levels_that_a_shell_would_interpret = {
    quoted("Semicolon", "1;touch /tmp/x"),
    quoted("LeadingSemicolon", ";touch /tmp/x"),
    quoted("Ampersand", "1&touch /tmp/x"),
    quoted("TwoAmpersands", "1&&touch /tmp/x"),
    quoted("Pipe", "1|touch /tmp/x"),
    quoted("TwoPipes", "1||touch /tmp/x"),
    quoted("Output", "1>/tmp/x"),
    quoted("OutputAtTheEnd", "1>>/tmp/x"),
    quoted("Input", "1</tmp/nothing"),
    quoted("Backquotes", "`touch /tmp/x`"),
    quoted("CommandSubstitution", "$(touch /tmp/x)"),
    quoted("CommandSubstitutionInDoubleQuotes", "\"$(touch /tmp/x)\""),
    quoted("CommandSubstitutionInSingleQuotes", "'$(touch /tmp/x)'"),
    quoted("CommandSubstitutionAfterASingleQuote", "';touch /tmp/x;'"),
    quoted("Parentheses", "1(touch /tmp/x)"),
    quoted("Variable", "$HOME"),
    quoted("VariableInBraces", "${PATH}"),
    quoted("ProcessNumber", "1$$"),
    quoted("Newline", "1\ntouch /tmp/x"),
    quoted("NewlineAtTheEnd", "1\n"),
    quoted("NewlineAtTheStart", "\ntouch /tmp/x"),
    quoted("Spaces", " 1  2 "),
    quoted("Tab", "\t1\t2"),
    quoted("FurtherOption", "1 -o 104"),
    quoted("SingleQuote", "1'2"),
    quoted("OnlySingleQuotes", "'''"),
    quoted("DoubleQuote", "1\"2"),
    quoted("Backslash", "1\\2\\"),
    quoted("BackslashAndNewline", "1\\\n2"),
    quoted("Asterisk", "*"),
    quoted("AsteriskThatMatches", "1 /*"),
    quoted("QuestionMark", "?"),
    quoted("Brackets", "[0-9]"),
    quoted("Braces", "{1..3}"),
    quoted("Hash", "1 # 2"),
    quoted("ManyQuotes", "1" + std::string(2000, '\'')),
};

// No shell interprets these here.
const std::vector<RequestCase> odd_levels = {
    quoted("CarriageReturn", "1\r"),  quoted("Tilde", "~"),      quoted("TildeAfterAColon", "1:~"),
    quoted("ExclamationMark", "1!2"), quoted("Caret", "1^2"),    quoted("PercentSigns", "%s%n%d"),
    quoted("ByteOne", "1\x01"),       quoted("Delete", "1\x7f"), quoted("BytesBeyondAscii", "1\xc3\xa4\xff"),
};

INSTANTIATE_TEST_SUITE_P(OddLevel, ConnectionBroker, testing::ValuesIn(odd_levels), name_of_row);

// Mounts another shell over /bin/sh, for the agent and its tools.
class SystemShell {
  public:
    explicit SystemShell(const std::string& program) {
        if (mount(program.c_str(), path, nullptr, MS_BIND, nullptr) != 0) {
            throw std::system_error(errno, std::generic_category(), "mount " + program);
        }
    }
    ~SystemShell() { umount2(path, MNT_DETACH); }
    SystemShell(const SystemShell&) = delete;
    SystemShell& operator=(const SystemShell&) = delete;

  private:
    static constexpr const char* path = "/bin/sh";
};

struct Shell {
    // In CamelCase.
    std::string name;
    std::string program;
};

std::ostream& operator<<(std::ostream& out, const Shell& shell) {
    return out << shell.name;
}

using ShellAndCase = std::tuple<Shell, RequestCase>;

// Shells differ in what they interpret: braces, for instance.
class LevelThatAShellWouldInterpret : public testing::TestWithParam<ShellAndCase> {
  protected:
    LevelThatAShellWouldInterpret() { write_file(matching_file_, ""); }
    ~LevelThatAShellWouldInterpret() override { remove_tree(matching_file_); }

  private:
    // A file in the working folder of the agent, for the last argument of the tool to match if that is a pattern.
    const std::string matching_file_ = "/DebugLevel=7";
    const SystemShell shell_ = SystemShell(std::get<Shell>(GetParam()).program);
};

TEST_P(LevelThatAShellWouldInterpret, ReachesTheToolUnchanged) {
    check_logging(std::get<RequestCase>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(, LevelThatAShellWouldInterpret,
                         testing::Combine(testing::Values(Shell{"Dash", "/bin/dash"}, Shell{"Bash", "/bin/bash"},
                                                          Shell{"Busybox", "/bin/busybox"}),
                                          testing::ValuesIn(levels_that_a_shell_would_interpret)),
                         [](const testing::TestParamInfo<ShellAndCase>& row) {
                             return std::get<Shell>(row.param).name + std::get<RequestCase>(row.param).name;
                         });

// The tool does not run, and there is no response line.
RequestCase rejection(const std::string& name, const std::string& values, const std::string& message) {
    return {.name = name,
            .request = {"ENABLELOGGING", "KOB:" + values},
            .prepare = [] { install_stand_in(); },
            .status = 5809,
            .log = {rejected(message), said("Completed w/ 5809")}};
}

RequestCase rejected_level(const std::string& name, const std::string& level, const std::string& value) {
    return rejection(name, "kob=" + level, "Invalid KOB DbgLevel spec: N=kob V=" + value);
}

const std::vector<RequestCase> rejections = {
    rejected_level("Eleven", "11", "11"),
    rejected_level("MinusOne", "-1", "-1"),
    rejected_level("ElevenAfterASpaceAndAPlusSign", " +11", "11"),
    rejected_level("TextAfterEleven", "11;touch /tmp/x", "11"),
    rejected_level("TheLargestNumberOf32Bits", "2147483647", "2147483647"),
    rejected_level("OneMoreThanTheLargestNumberOf32Bits", "2147483648", "-2147483648"),
    rejected_level("BeyondTheLargestNumberOf64Bits", "99999999999999999999", "-1"),
    rejection("NameInUpperCase", "KOB=5", "Invalid KOB DbgLevel spec: N=KOB V=5"),
    rejection("LongerName", "kobx=5", "Invalid KOB DbgLevel spec: N=kobx V=5"),
    rejection("NameWithASpace", " kob=5", "Invalid KOB DbgLevel spec: N= kob V=5"),
    rejection("EmptyName", "=5", "Invalid KOB DbgLevel spec: N= V=5"),
    rejection("NameWithACommand", "kob;touch /tmp/x=5", "Invalid KOB DbgLevel spec: N=kob;touch /tmp/x V=5"),
    rejection("TwoValues", "kob=5,kob=6", "Expected 1, NOT 2"),
    rejection("ThreeValues", "kob=5,,", "Expected 1, NOT 3"),
};

INSTANTIATE_TEST_SUITE_P(Rejection, ConnectionBroker, testing::ValuesIn(rejections), name_of_row);

// The tool, or the shell that runs it, fails. The agent reports and returns the raw wait status.
RequestCase failure(const std::string& name, int status, const std::function<void()>& prepare,
                    const std::vector<FileState>& after) {
    const std::string line = "PROCESS=KOB:kob STATUS=" + std::to_string(status) + " MSG=failed to change KOB cfg\n";
    return {.name = name,
            .request = {"ENABLELOGGING", "KOB:kob=5"},
            .prepare = prepare,
            .answer = {line},
            .status = status,
            .log = {said("For C=KOB CA=5 executing cmd=" + tool + fixed_arguments + "5"),
                    said("Sending to caller: " + line), said("Completed w/ " + std::to_string(status))},
            .after = after};
}

RequestCase exit_of_tool(const std::string& name, int exit_status) {
    return failure(name, exit_status * 256, [exit_status] { install_stand_in({stand_in::exit_with(exit_status)}); },
                   {arguments_with("5")});
}

const std::vector<RequestCase> failures = {
    exit_of_tool("ToolEndsWithOne", 1),
    exit_of_tool("ToolEndsWithTwo", 2),
    exit_of_tool("ToolEndsWith24", 24),
    exit_of_tool("ToolEndsWith255", 255),
    failure("ToolIsMissing", 32512, [] {}, {}),
    failure("ToolIsNotExecutable", 32256, [] { make(file(tool, "#!/bin/sh\n")); }, {}),
};

INSTANTIATE_TEST_SUITE_P(Failure, ConnectionBroker, testing::ValuesIn(failures), name_of_row);

class ConnectionBrokerTool : public ProductTest {};

// The C library reports a shell that could not be started like one that could not be executed.
TEST_F(ConnectionBrokerTool, IsNotRunWhenNoShellCanBeStarted) {
    install_stand_in();
    AgentOptions options;
    options.refused_calls = refused_calls::fork({.error = EAGAIN});
    check_logging_in_place(failure("", 32512, [] {}, {}), options);
}

// The wait status 6144 must not get a text about qr.conf, whose failures have the statuses just below it.
TEST_F(ConnectionBrokerTool, EndsWith24WithoutTheTextOfAnotherFailure) {
    install_tool(tool, {stand_in::exit_with(24)});
    EXPECT_EQ(run_agent({"ENABLELOGGING", "KOB:kob=5"}).status_line(),
              "EXIT STATUS 6144 status 6144, which has no text of its own\n");
}

TEST_F(ConnectionBrokerTool, HasNoInputAndNoOutput) {
    install_tool(tool, {stand_in::print("out\n"), stand_in::complain("error\n"), stand_in::print_input(1)});
    EXPECT_EQ(run_agent({"ENABLELOGGING", "KOB:kob=5"}).output(), "PROCESS=KOB:kob STATUS=0 MSG=Success\n");
}

}  // namespace
