// The agent's messages about a tool that it runs.
#pragma once

#include <string>
#include <vector>

#include "tests/support/debug_log_lines.h"

// The end of a tool, as the agent reports it.
struct ToolEnd {
    int code = 0;
    // The signal that ended the tool, or 0.
    int signal = 0;
};

// The agent's own messages about the tool of a word, with a peer that waits for the end.
[[nodiscard]] std::vector<LogLine> messages_of_run(const std::string& word, const std::string& tool, ToolEnd end = {});

// Joins two lists.
[[nodiscard]] std::vector<LogLine> operator+(std::vector<LogLine> lines, const std::vector<LogLine>& more);
