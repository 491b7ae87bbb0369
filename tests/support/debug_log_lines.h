// The agent's debug log as values.
#pragma once

#include <sys/types.h>

#include <iosfwd>
#include <string>
#include <vector>

// One message. TAG and MESSAGE stand as in the log, escapes included. A tag that holds ": " is cut there: what is
// after that belongs to `text`. In an expected line `text` may hold placeholders, see matches_pattern.
struct LogLine {
    int level = 0;
    std::string tag;
    std::string text;
    pid_t pid = 0;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

// Parses lines of the debug log's form; throws at one that is of any other.
[[nodiscard]] std::vector<LogLine> parse_debug_log(const std::string& text);

// Returns the messages of all files of the agent's debug log, by date; none when there is no log.
[[nodiscard]] std::vector<LogLine> read_debug_log();

// Tells whether the text is the pattern's, in which <digits> stands for one digit or more, <text> for one byte or more,
// and <temporary> for the name of a temporary directory: "zmla-", 29 digits, "-", 6 of a to z and 0 to 9.
[[nodiscard]] bool matches_pattern(const std::string& pattern, const std::string& text);
[[nodiscard]] bool matches_pattern(const LogLine& pattern, const LogLine& line);
