// The debug log of the agent that ran in the private root.
#pragma once

#include <string>
#include <vector>

#include "tests/support/log_line.h"
#include "tests/support/text_pattern.h"

// Returns the messages of all files of the agent's debug log, by date; none when there is no log.
[[nodiscard]] std::vector<LogLine> read_debug_log();

// Returns whether level and tag are equal and the text matches the pattern's text.
[[nodiscard]] bool matches_pattern(const LogLine& pattern, const LogLine& line);
