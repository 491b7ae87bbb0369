// Expected texts with placeholders for what differs from run to run.
#pragma once

#include <string>

// Returns whether the text matches the pattern. In the pattern <digits> matches one digit or more, <text> one byte or
// more, and <temporary> the name of a temporary directory: "zmla-", 29 digits, "-", 6 of a to z and 0 to 9.
[[nodiscard]] bool matches_pattern(const std::string& pattern, const std::string& text);
