// Tables of logging requests: a request, the files before, the answer, the log, and every file that it changed.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/agent_runner.h"
#include "tests/support/request_case.h"

struct LoggingCase {
    // A sentence in CamelCase.
    std::string name;
    Request request;
    // Made in this order, on top of a fresh product tree.
    std::vector<FileState> before = {};
    // Any further preparation.
    std::function<void()> prepare = [] {};
    // The response lines, to the letter, newlines included.
    std::vector<std::string> answer = {};
    // The status line's number; its low eight bits are the exit status.
    int status = 0;
    // What the categories write into the debug log: its lines between the first of the request and those about sending
    // the answer. Texts are patterns of matches_pattern.
    std::vector<LogLine> log = {};
    // All that the request changed below /usr/kumel, /opt and /tmp, and /etc/rkregistry.cfg: a file that was written
    // anew with the text it had is a change too.
    std::vector<FileState> after = {};
};

std::ostream& operator<<(std::ostream& out, const LoggingCase& row);

// Runs the row and expects what it says, and nothing else.
void check(const LoggingCase& row);

// The same in a tree that stands already, for what cannot be made by a row: mounted folders, for instance.
void check_in_place(const LoggingCase& row, const AgentOptions& options = {});

// For tables: class Broker : public LoggingTable {}; TEST_P(Broker, Row) { check(GetParam()); }
class LoggingTable : public testing::TestWithParam<LoggingCase> {};

// Names the rows' tests.
[[nodiscard]] std::string name_of_logging_row(const testing::TestParamInfo<LoggingCase>& row);

// What comes of one value: its response line, the level at which that is logged, and what is logged before it.
struct Outcome {
    std::string line;
    std::vector<LogLine> log = {};
    int level = 4;
};

// Adds the outcomes to what the row expects of answer and log. The lines are logged under the tag.
void add(LoggingCase& row, const std::string& tag, const std::vector<Outcome>& outcomes);

// Returns a log line for a text that is logged as it is, such as a response line: escaped as in the log.
[[nodiscard]] LogLine logged(int level, const std::string& tag, const std::string& text);

// The lock file that a safe rewrite leaves beside the file.
[[nodiscard]] FileState lock_of(const std::string& path);
