#include "tests/end_to_end/logging/logging_case.h"

#include <array>

#include "tests/end_to_end/logging/tree_snapshot.h"
#include "tests/support/log_matchers.h"

namespace {

using log_level::information;

std::string action_of(const std::string& word) {
    if (word == "ENABLELOGGING") {
        return "enable";
    }
    return word == "DISABLELOGGING" ? "disable" : "reset";
}

std::vector<LogLine> whole_log(const RequestCase& row) {
    const std::string& word = row.request.front();
    std::vector<LogLine> lines = {{information, "handle_logging", action_of(word) + " logging C=" + word}};
    lines.insert(lines.end(), row.log.begin(), row.log.end());
    for (const std::string& line : row.answer.lines()) {
        lines.push_back(
            logged(information, "handle_logging", "Responding (len=" + std::to_string(line.size()) + ") " + line));
    }
    return lines;
}

std::vector<std::string> paths_of(const std::vector<FileState>& states) {
    std::vector<std::string> paths;
    for (const FileState& state : states) {
        paths.push_back(state.path);
    }
    return paths;
}

}  // namespace

void check_logging(const RequestCase& row) {
    prepare(row);
    check_logging_in_place(row);
}

void check_logging_in_place(const RequestCase& row, const AgentOptions& options) {
    const TreeSnapshot before;
    const AgentRun run = run_agent(row.request, options);
    EXPECT_EQ(run.output(), row.answer.text());
    EXPECT_EQ(run.status(), row.status);
    EXPECT_EQ(run.exit_status(), row.status & 0xff);
    EXPECT_THAT(run.request_log(), LogIs(whole_log(row)));
    EXPECT_THAT(TreeSnapshot().changes_since(before), testing::UnorderedElementsAreArray(paths_of(row.after)));
    for (const FileState& state : row.after) {
        expect(state);
    }
}

void add(RequestCase& row, const std::string& tag, const std::vector<Outcome>& outcomes) {
    for (const Outcome& outcome : outcomes) {
        row.answer += outcome.line;
        row.log.insert(row.log.end(), outcome.log.begin(), outcome.log.end());
        row.log.push_back(logged(outcome.level, tag, outcome.line));
    }
}

LogLine logged(int level, const std::string& tag, const std::string& text) {
    constexpr std::array<char, 17> digits = {"0123456789abcdef"};
    std::string escaped;
    for (const char byte : text) {
        const auto number = static_cast<unsigned char>(byte);
        if (byte == '\\') {
            escaped += "\\\\";
        } else if (byte == '\n') {
            escaped += "\\n";
        } else if (byte == '\r') {
            escaped += "\\r";
        } else if (byte == '\t') {
            escaped += "\\t";
        } else if (number < 32 || number == 127) {
            escaped += {'\\', 'x', digits[number / 16], digits[number % 16]};
        } else {
            escaped += byte;
        }
    }
    return {level, tag, escaped};
}

FileState lock_of(const std::string& path) {
    return file(path + ".lock");
}
