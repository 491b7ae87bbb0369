// The agent's messages about a tool that it runs.
#pragma once

#include <string>
#include <vector>

#include "tests/support/debug_log_lines.h"

// How a run ended, as the agent tells it.
struct ToolEnd {
    int code = 0;
    // The signal that ended the tool, or 0.
    int signal = 0;
};

// The agent's own messages while the tool of the word runs, when the peer waits for its end.
[[nodiscard]] std::vector<LogLine> messages_of_run(const std::string& word, const std::string& tool, ToolEnd end = {});

// Returns both, one behind the other.
[[nodiscard]] std::vector<LogLine> operator+(std::vector<LogLine> lines, const std::vector<LogLine>& more);
