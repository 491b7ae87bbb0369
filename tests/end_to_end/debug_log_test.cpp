// The file of the debug log and the form of its lines.
#include <cstdlib>
#include <ctime>

#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

const std::string log_folder = logs_folder + "/zmlogadmagent";

class DebugLog : public ProductTest {};

// The name of the log and the hour now, in a time zone of TZ.
std::string name_and_hour(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    char text[64];
    strftime(text, sizeof text, "log.%Y%m%d %H", &local);
    unsetenv("TZ");
    tzset();
    return text;
}

// Expects the name of the log and the hour of its first line as before or after the run: the hour may change meanwhile.
void expect_local_time(const char* zone) {
    make_product_tree();
    AgentOptions options;
    options.environment.push_back(std::string("TZ=") + zone);
    const std::string earlier = name_and_hour(zone);
    static_cast<void>(run_agent({"FETCHFILE"}, options));
    const std::string later = name_and_hour(zone);
    const std::vector<std::string> names = names_in(log_folder);
    ASSERT_EQ(names.size(), 1U);
    const std::string seen = names[0] + " " + read_file(log_folder + "/" + names[0]).substr(0, 2);
    EXPECT_THAT(seen, testing::AnyOf(earlier, later));
}

TEST_F(DebugLog, IsNamedByTheLocalDateAndShowsTheLocalTime) {
    // 14 hours ahead of UTC and 12 hours behind it always have different dates.
    expect_local_time("AHEAD-14");
    expect_local_time("BEHIND+12");
    expect_local_time("UTC0");
}

TEST_F(DebugLog, IsReadableByAll) {
    AgentOptions options;
    options.creation_mask = 0077;
    static_cast<void>(run_agent({"FETCHFILE"}, options));
    EXPECT_EQ(mode_of(log_folder), 0755U);
    EXPECT_EQ(mode_of(log_folder + "/" + names_in(log_folder).at(0)), 0644U);
}

TEST_F(DebugLog, GetsTheMessagesOfLaterRunsAppended) {
    const AgentRun first = run_agent({"FETCHFILE"});
    const AgentRun second = run_agent({"FETCHFILE"});
    EXPECT_NE(first.pid, second.pid);
    EXPECT_EQ(second.log.size(), 2 * first.log.size());
    EXPECT_EQ(second.log.front().pid, first.pid);
    EXPECT_EQ(second.log.back().pid, second.pid);
}

TEST_F(DebugLog, HasTheProcessIdOfItsWriter) {
    const AgentRun run = run_agent({"FETCHFILE"});
    ASSERT_FALSE(run.log.empty());
    EXPECT_EQ(run.log.size(), run.own_log().size());
}

struct EscapedText {
    std::string name;
    std::string sent;
    std::string logged;
};

std::ostream& operator<<(std::ostream& out, const EscapedText& row) {
    return out << row.name;
}

class DebugLogText : public testing::TestWithParam<EscapedText> {};

TEST_P(DebugLogText, IsOneLineWithEscapes) {
    make_product_tree();
    const AgentRun run = run_agent({GetParam().sent});
    EXPECT_EQ(run.status(), 5764);
    EXPECT_THAT(run.log,
                LogHas({information, "receive_inputs_from_client", "string from peer C=" + GetParam().logged}));
    EXPECT_THAT(run.log, LogHas({information, "process_request", "processing request R=" + GetParam().logged}));
    EXPECT_THAT(run.log, LogHas({error, "is_cmd_valid", "command is not valid C=" + GetParam().logged + " RV=5764"}));
    EXPECT_THAT(read_file(log_folder + "/" + names_in(log_folder).at(0)),
                testing::HasSubstr("string from peer C=" + GetParam().logged + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    , DebugLogText,
    testing::Values(EscapedText{"Newline", "a\nb", "a\\nb"}, EscapedText{"CarriageReturn", "a\rb", "a\\rb"},
                    EscapedText{"Tab", "a\tb", "a\\tb"}, EscapedText{"Backslash", "a\\nb", "a\\\\nb"},
                    EscapedText{"ByteOne",
                                "a\x01"
                                "b",
                                "a\\x01b"},
                    EscapedText{"ByteThirtyOne", "\x1f", "\\x1f"}, EscapedText{"Escape", "\x1b[2J", "\\x1b[2J"},
                    EscapedText{"Delete", "\x7f", "\\x7f"}, EscapedText{"ByteTwoHundred", "\xc8", "\xc8"},
                    EscapedText{"Byte128And255", "\x80\xff", "\x80\xff"},
                    EscapedText{"PercentSigns", "%s%n%d%%", "%s%n%d%%"}, EscapedText{"Spaces", "  ", "  "},
                    EscapedText{"Empty", "", ""},
                    EscapedText{"ForgedLine", "x\n00:00:00.000 [1] <4> a: b", "x\\n00:00:00.000 [1] <4> a: b"},
                    EscapedText{"LongestArgument", std::string(2047, '\\'), std::string(4094, '\\')}),
    name_of_row);

}  // namespace
