// One message of the debug log as a value, in every test program.
#pragma once

#include <sys/types.h>

#include <iosfwd>
#include <string>
#include <vector>

#include "platform/runtime.h"

// Levels are those of log_level (platform/runtime.h). In a line that was read from a file, `tag` and `text` have
// their escapes, and `tag` ends before the first ": ".
struct LogLine {
    int level = 0;
    std::string tag;
    std::string text;
    // The process that wrote it. Comparisons and matchers ignore it.
    pid_t pid = 0;

    bool operator==(const LogLine& other) const;
};

// Prints "<LEVEL> TAG: TEXT", as the log does.
std::ostream& operator<<(std::ostream& out, const LogLine& line);

// Parses a text of the debug log's form. Throws when a line has any other form.
[[nodiscard]] std::vector<LogLine> parse_debug_log(const std::string& text);
