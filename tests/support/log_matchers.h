// Matchers of debug log lines. An expected line's text is a pattern, see matches_pattern.
#pragma once

#include <gmock/gmock.h>

#include <vector>

#include "tests/support/debug_log_lines.h"

MATCHER_P(IsLine, expected, testing::PrintToString(expected)) {
    static_cast<void>(result_listener);
    return matches_pattern(expected, arg);
}

// The log is exactly these lines, in this order.
inline testing::Matcher<std::vector<LogLine>> LogIs(const std::vector<LogLine>& lines) {
    std::vector<testing::Matcher<LogLine>> matchers;
    matchers.reserve(lines.size());
    for (const LogLine& line : lines) {
        matchers.emplace_back(IsLine(line));
    }
    return testing::ElementsAreArray(matchers);
}

// The line is in the log.
inline testing::Matcher<std::vector<LogLine>> LogHas(const LogLine& line) {
    return testing::Contains(IsLine(line));
}

MATCHER_P(IsPattern, expected, "is " + testing::PrintToString(expected)) {
    static_cast<void>(result_listener);
    return matches_pattern(expected, arg);
}
