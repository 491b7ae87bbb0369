// Tables of logging requests. A row is a RequestCase, and its check is stricter than that of other requests.
#pragma once

#include <string>
#include <vector>

#include "tests/support/agent_runner.h"
#include "tests/support/request_case.h"

// Prepares and runs the row, and expects what it says and nothing else. The answer is no pattern. `log` has the lines
// of the categories, and `after` every path that the request changed below /usr/kumel, /opt and /tmp, or
// /etc/rkregistry.cfg: a file that was rewritten with the same text is a change too.
void check_logging(const RequestCase& row);

// The same without the preparation, for what a row cannot prepare, such as mounted folders.
void check_logging_in_place(const RequestCase& row, const AgentOptions& options = {});

// The outcome of one value: its response line, the log lines before it, and the level at which the line is logged.
struct Outcome {
    std::string line;
    std::vector<LogLine> log = {};
    int level = log_level::information;
};

// Adds the outcomes to the answer and the log of the row. The response lines are logged with the tag.
void add(RequestCase& row, const std::string& tag, const std::vector<Outcome>& outcomes);

// Returns the log line for a text, with the escapes of the log.
[[nodiscard]] LogLine logged(int level, const std::string& tag, const std::string& text);

// Returns the lock file that a safe rewrite leaves beside the file.
[[nodiscard]] FileState lock_of(const std::string& path);
