// End-to-end tests as rows of a table: a request, files before, answer, log and files after.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/agent_runner.h"

// Something of a name in the file system, to be made before a request or to be found after it.
struct FileState {
    enum class Kind { file, folder, empty_folder, link, missing };
    std::string path;
    Kind kind = Kind::missing;
    // The text of a file, or what a link points to.
    std::string text;
};

[[nodiscard]] FileState file(const std::string& path, const std::string& text = "");
[[nodiscard]] FileState folder(const std::string& path);
[[nodiscard]] FileState empty_folder(const std::string& path);
[[nodiscard]] FileState soft_link(const std::string& path, const std::string& target);
[[nodiscard]] FileState missing(const std::string& path);

void make(const FileState& state);
// A test's expectation that the state is found.
void expect(const FileState& state);

struct RequestCase {
    // A sentence in CamelCase.
    std::string name;
    Request request;
    // Made in this order, on top of a fresh product tree.
    std::vector<FileState> before = {};
    // Any further preparation.
    std::function<void()> prepare = [] {};
    // What the peer receives before the status line, as a pattern of matches_pattern.
    std::string answer = {};
    // The status line's number; its low eight bits are the exit status.
    int status = 0;
    // AgentRun::request_log, texts being patterns.
    std::vector<LogLine> log = {};
    std::vector<FileState> after = {};
};

std::ostream& operator<<(std::ostream& out, const RequestCase& row);

// Runs the row and expects what it says.
void check(const RequestCase& row);

// For tables: class Cleanup : public RequestTable {}; TEST_P(Cleanup, Row) { check(GetParam()); }
class RequestTable : public testing::TestWithParam<RequestCase> {};

// Names the rows' tests.
[[nodiscard]] std::string name_of_row(const testing::TestParamInfo<RequestCase>& row);
