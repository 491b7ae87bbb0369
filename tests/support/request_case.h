// End-to-end tests as rows of a table: request, files before, answer, log lines and files after.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/agent_runner.h"

// What a path names: made before a request, or expected after it.
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

// What the peer receives before the status line: response lines, each with its newline. Written as one text or as a
// list of lines.
class Answer {
  public:
    Answer() = default;
    Answer(const char* text) : lines_{text} {}
    Answer(const std::string& text) : lines_{text} {}
    Answer(const std::vector<std::string>& lines) : lines_(lines) {}
    Answer(std::initializer_list<std::string> lines) : lines_(lines) {}

    void operator+=(const std::string& line) { lines_.push_back(line); }
    [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }
    [[nodiscard]] std::string text() const;

  private:
    std::vector<std::string> lines_;
};

// The one type of rows. A table that expects more of each row, or derives a part of it, has a check of its own.
struct RequestCase {
    // A sentence in CamelCase, the name of the row's test.
    std::string name;
    Request request;
    // Made in this order, on top of a fresh product tree.
    std::vector<FileState> before = {};
    // Any further preparation.
    std::function<void()> prepare = [] {};
    // `check` takes it for a pattern, see matches_pattern.
    Answer answer = {};
    // The number in the status line. Its low eight bits are the exit status.
    int status = 0;
    // AgentRun::request_log. Texts are patterns.
    std::vector<LogLine> log = {};
    std::vector<FileState> after = {};
};

std::ostream& operator<<(std::ostream& out, const RequestCase& row);

// Makes a fresh product tree, and in it what the row needs before its request.
void prepare(const RequestCase& row);

// Prepares and runs the row, and expects what it says.
void check(const RequestCase& row);

// For tables: class Cleanup : public RequestTable {}; TEST_P(Cleanup, AnswersAndLogs) { check(GetParam()); }
class RequestTable : public testing::TestWithParam<RequestCase> {};

// Names the tests of any rows that have a `name`, for INSTANTIATE_TEST_SUITE_P.
inline constexpr auto name_of_row = [](const auto& row) { return row.param.name; };
