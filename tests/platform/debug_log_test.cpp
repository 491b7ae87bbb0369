// Messages in the debug log.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <vector>

#include "platform/runtime.h"
#include "tests/platform/child_process.h"
#include "tests/platform/system_calls.h"
#include "tests/platform/written_debug_log.h"
#include "tests/support/debug_log_lines.h"
#include "tests/support/failing_calls.h"

using failing_calls::failures;
using system_calls::overrides;

namespace {

class DebugLog : public testing::Test {
  protected:
    DebugLog() { system_calls::reset(); }
    ~DebugLog() override { system_calls::reset(); }
};

std::string line_with_tag(const char* tag) {
    return logged_message([tag] { logmsgf(log_level::information, tag, "text"); });
}

std::string line_with_text(const std::string& text) {
    return logged_message([&text] { logmsgf(log_level::information, "tag", "%s", text.c_str()); });
}

struct Escape {
    const char* name;
    std::string text;
    std::string written;
};

const Escape escapes[] = {
    {"backslash", "a\\b", "a\\\\b"},
    {"newline", "a\nb", "a\\nb"},
    {"carriage return", "a\rb", "a\\rb"},
    {"tab", "a\tb", "a\\tb"},
    {"first control character", "\x01", "\\x01"},
    {"bell", "\a", "\\x07"},
    {"vertical tab and form feed", "\v\f", "\\x0b\\x0c"},
    {"escape", "\x1b[31m", "\\x1b[31m"},
    {"last control character", "\x1f", "\\x1f"},
    {"blank", " ", " "},
    {"delete", "\x7f", "\\x7f"},
    {"text that looks escaped", "\\n", "\\\\n"},
    {"first byte with the high bit", "\x80", "\x80"},
    {"next line control of ISO 8859", "\x85", "\x85"},
    {"UTF-8", "\xc3\xa9\xe2\x82\xac", "\xc3\xa9\xe2\x82\xac"},
    {"last byte", "\xff", "\xff"},
    {"several in a row", "\r\n\\\t\x7f", "\\r\\n\\\\\\t\\x7f"},
    {"a forged line", "x\n00:00:00.000 [1] <4> main: done", "x\\n00:00:00.000 [1] <4> main: done"},
    {"percent signs", "100% %s %n %d %%", "100% %s %n %d %%"},
};

}  // namespace

TEST_F(DebugLog, WritesTimeProcessLevelTagAndMessage) {
    overrides.time_of_day = timespec{1'700'000'000, 7'999'999};
    pid_t child = 0;
    const std::string log = debug_log_of([] {
        setenv("TZ", "EST5", 1);
        tzset();
        logmsgf(log_level::warning, "some_step", "C=%s E=%d", "word", 7);
    });
    const std::vector<LogLine> lines = parse_debug_log(log);
    ASSERT_EQ(lines.size(), 1U);
    child = lines[0].pid;
    EXPECT_NE(child, getpid());
    EXPECT_EQ(log, "17:13:20.007 [" + std::to_string(child) + "] <8> some_step: C=word E=7\n");
}

TEST_F(DebugLog, WritesThePidOfTheProcess) {
    const std::string log = debug_log_of([] { logmsgf(log_level::detail, "pid", "%d", getpid()); });
    const std::vector<LogLine> lines = parse_debug_log(log);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(std::to_string(lines[0].pid), lines[0].text);
}

TEST_F(DebugLog, WritesThePidOfAChildToo) {
    const std::string log = debug_log_of([] {
        const auto log_process = [] { logmsgf(log_level::detail, "pid", "%d", getpid()); };
        log_process();
        ChildProcess child([&] {
            log_process();
            ChildProcess grandchild(log_process);
            EXPECT_EQ(grandchild.wait(), 0);
        });
        EXPECT_EQ(child.wait(), 0);
        log_process();
    });
    const std::vector<LogLine> lines = parse_debug_log(log);
    ASSERT_EQ(lines.size(), 4U);
    for (const LogLine& line : lines) {
        EXPECT_EQ(std::to_string(line.pid), line.text);
    }
    EXPECT_NE(lines[1].pid, lines[2].pid);
}

TEST_F(DebugLog, WritesTheTimeOfEachMessage) {
    std::string log = debug_log_of([] {
        setenv("TZ", "UTC0", 1);
        tzset();
        for (const timespec& now : {timespec{59, 0}, timespec{59, 999'000'000}, timespec{60, 1'000'000},
                                    timespec{86'399, 0}, timespec{59, 2'000'000}}) {
            overrides.time_of_day = now;
            logmsgf(log_level::detail, "t", "m");
        }
    });
    std::string times;
    for (; !log.empty(); log.erase(0, log.find('\n') + 1)) {
        times += log.substr(0, log.find('['));
    }
    EXPECT_EQ(times, "00:00:59.000 00:00:59.999 00:01:00.001 23:59:59.000 00:00:59.002 ");
}

TEST_F(DebugLog, PadsTheTimeWithZeros) {
    overrides.time_of_day = timespec{3723, 4'000'000};
    const std::string log = debug_log_of([] {
        setenv("TZ", "UTC0", 1);
        tzset();
        logmsgf(log_level::detail, "t", "m");
    });
    EXPECT_TRUE(log.starts_with("01:02:03.004 [")) << log;
}

// Readers of logs rely on the numbers.
TEST_F(DebugLog, HasTheseNumbersForLevels) {
    EXPECT_EQ(log_level::detail, 2);
    EXPECT_EQ(log_level::information, 4);
    EXPECT_EQ(log_level::warning, 8);
    EXPECT_EQ(log_level::error, 16);
}

TEST_F(DebugLog, WritesAllLevels) {
    for (const int level : {0, 1, 2, 4, 8, 16, 32}) {
        EXPECT_EQ(logged_message([level] { logmsgf(level, "t", "m"); }), "<" + std::to_string(level) + "> t: m");
    }
}

TEST_F(DebugLog, LeavesTheTagEmptyWhenThereIsNone) {
    EXPECT_EQ(line_with_tag(""), "<4> : text");
    EXPECT_EQ(line_with_tag(nullptr), "<4> : text");
}

TEST_F(DebugLog, WritesAnEmptyMessage) {
    EXPECT_EQ(line_with_text(""), "<4> tag: ");
}

// This character cannot be converted in the C locale.
TEST_F(DebugLog, WritesALineEvenForAMessageThatCannotBePrinted) {
    EXPECT_EQ(logged_message([] { logmsgf(log_level::information, "tag", "text %ls", L"\u20ac"); }), "<4> tag: ");
}

TEST_F(DebugLog, EscapesWhatWouldBreakALineInTheMessage) {
    for (const Escape& row : escapes) {
        EXPECT_EQ(line_with_text(row.text), "<4> tag: " + row.written) << row.name;
    }
}

TEST_F(DebugLog, EscapesWhatWouldBreakALineInTheTag) {
    for (const Escape& row : escapes) {
        EXPECT_EQ(line_with_tag(row.text.c_str()), "<4> " + row.written + ": text") << row.name;
    }
}

TEST_F(DebugLog, EscapesEveryByteBelow32InAMessageOfAnyLength) {
    constexpr int long_enough = 1000;
    for (const int width : {0, long_enough}) {
        for (int byte = 0; byte < 32; ++byte) {
            const std::string message =
                logged_message([&] { logmsgf(log_level::information, "t", "%*sa%cb", width, "", byte); });
            char escape[] = {'\\', 'x', "01"[byte / 16], "0123456789abcdef"[byte % 16], '\0'};
            const std::string written = byte == '\n' ? "\\n" : byte == '\r' ? "\\r" : byte == '\t' ? "\\t" : escape;
            EXPECT_EQ(message, "<4> t: " + std::string(static_cast<std::size_t>(width), ' ') + "a" + written + "b");
        }
    }
}

TEST_F(DebugLog, KeepsEveryByteFrom128On) {
    std::string text;
    for (int byte = 128; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    EXPECT_EQ(line_with_text(text), "<4> tag: " + text);
}

TEST_F(DebugLog, DoesNotInterpretTheTag) {
    EXPECT_EQ(line_with_tag("%s%n%d"), "<4> %s%n%d: text");
}

TEST_F(DebugLog, CutsNoMessage) {
    for (const std::size_t length : {511U, 512U, 513U, 1023U, 1024U, 2047U, 2048U, 4096U, 65536U, 1U << 20}) {
        const std::string text(length, 'x');
        EXPECT_TRUE(line_with_text(text) == "<4> tag: " + text) << length;
    }
}

// Includes the lengths around which a line no longer fits on the stack.
TEST_F(DebugLog, CutsNeitherAMessageOfAnyLengthNorAnEscape) {
    constexpr std::size_t lengths = 2100;
    const std::string log = debug_log_of([] {
        for (std::size_t length = 0; length < lengths; ++length) {
            logmsgf(log_level::information, "t", "%s\t", std::string(length, 'x').c_str());
        }
    });
    const std::vector<LogLine> lines = parse_debug_log(log);
    ASSERT_EQ(lines.size(), lengths);
    for (std::size_t length = 0; length < lengths; ++length) {
        EXPECT_EQ(lines[length].text, std::string(length, 'x') + "\\t");
    }
}

TEST_F(DebugLog, CutsNoTag) {
    const std::string tag(100'000, 't');
    EXPECT_TRUE(line_with_tag(tag.c_str()) == "<4> " + tag + ": text");
}

TEST_F(DebugLog, WritesAMessageWithASingleWrite) {
    for (const std::size_t length : {1U, 1U << 20}) {
        debug_log_of([length] {
            int writes = 0;
            overrides.before_call = [&writes](const std::string& call) { writes += call == "write" ? 1 : 0; };
            logmsgf(log_level::error, "t", "%s", std::string(length, '\n').c_str());
            EXPECT_EQ(writes, 1);
        });
    }
}

TEST_F(DebugLog, KeepsTheErrorNumber) {
    debug_log_of([] {
        errno = ENOTTY;
        logmsgf(log_level::error, "t", "%s", std::string(1U << 20, 'x').c_str());
        EXPECT_EQ(errno, ENOTTY);
    });
}

TEST_F(DebugLog, KeepsTheErrorNumberWhenTheLogCannotBeWritten) {
    debug_log_of([] {
        failures["write"] = {ENOSPC};
        errno = ENOTTY;
        logmsgf(log_level::error, "t", "m");
        EXPECT_EQ(errno, ENOTTY);
    });
}

TEST_F(DebugLog, SeparatesTheLinesOfProcessesThatShareIt) {
    const std::string text(5000, 'x');
    const std::string log = debug_log_of([&text] {
        const auto write_lines = [&text] {
            for (int i = 0; i < 50; ++i) {
                logmsgf(log_level::information, "t", "%s", text.c_str());
            }
        };
        ChildProcess first(write_lines);
        ChildProcess second(write_lines);
        EXPECT_EQ(first.wait(), 0);
        EXPECT_EQ(second.wait(), 0);
    });
    const std::vector<LogLine> lines = parse_debug_log(log);
    EXPECT_EQ(lines.size(), 100U);
    EXPECT_TRUE(std::all_of(lines.begin(), lines.end(), [&](const LogLine& line) { return line.text == text; }));
}
