#include "tests/support/debug_log_lines.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <string_view>

#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

namespace {

constexpr std::string_view digits = "0123456789";

// Takes a log line apart from its front.
class LineParser {
  public:
    explicit LineParser(std::string_view line) : line_(line), rest_(line) {}

    void expect(std::string_view text) {
        if (!rest_.starts_with(text)) {
            fail();
        }
        rest_.remove_prefix(text.size());
    }

    // Takes digits: exactly `width` of them, or as many as there are.
    int number(std::size_t width = 0) {
        const std::size_t end = std::min(rest_.find_first_not_of(digits), rest_.size());
        if (end == 0 || (width != 0 && end != width)) {
            fail();
        }
        return std::stoi(take(end));
    }

    std::string until(std::string_view mark) {
        const std::size_t end = rest_.find(mark);
        if (end == std::string_view::npos) {
            fail();
        }
        std::string text = take(end);
        expect(mark);
        return text;
    }

    std::string rest() { return take(rest_.size()); }

  private:
    std::string take(std::size_t count) {
        std::string text(rest_.substr(0, count));
        rest_.remove_prefix(count);
        return text;
    }

    [[noreturn]] void fail() const { throw std::runtime_error("not a debug log line: " + std::string(line_)); }

    std::string_view line_;
    std::string_view rest_;
};

// HH:MM:SS.mmm [PID] <LEVEL> TAG: MESSAGE
LogLine parse_line(std::string_view text) {
    LineParser parser(text);
    LogLine line;
    for (const char* mark : {":", ":", "."}) {
        parser.number(2);
        parser.expect(mark);
    }
    parser.number(3);
    parser.expect(" [");
    line.pid = parser.number();
    parser.expect("] <");
    line.level = parser.number();
    parser.expect("> ");
    line.tag = parser.until(": ");
    line.text = parser.rest();
    return line;
}

// Each takes what its placeholder stands for from the front of the text, or returns false.
bool take_digits(std::string_view& text) {
    const std::size_t end = std::min(text.find_first_not_of(digits), text.size());
    text.remove_prefix(end);
    return end != 0;
}

bool take_temporary(std::string_view& text) {
    constexpr std::string_view prefix = "zmla-";
    constexpr std::size_t middle = 29;
    constexpr std::size_t end = 6;
    constexpr std::size_t length = prefix.size() + middle + 1 + end;
    const std::string_view name = text.substr(0, length);
    if (name.size() != length || !name.starts_with(prefix) || name[prefix.size() + middle] != '-' ||
        name.substr(prefix.size(), middle).find_first_not_of(digits) != std::string_view::npos ||
        name.substr(length - end).find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789") != std::string_view::npos) {
        return false;
    }
    text.remove_prefix(length);
    return true;
}

struct Placeholder {
    std::string_view mark;
    bool (*take)(std::string_view& text);
};

constexpr Placeholder placeholders[] = {{"<digits>", take_digits}, {"<temporary>", take_temporary}};

// Takes one byte or one placeholder from the front of the pattern, and what it stands for from the text.
bool take_step(std::string_view& pattern, std::string_view& text) {
    for (const Placeholder& placeholder : placeholders) {
        if (pattern.starts_with(placeholder.mark)) {
            pattern.remove_prefix(placeholder.mark.size());
            return placeholder.take(text);
        }
    }
    if (text.empty() || text.front() != pattern.front()) {
        return false;
    }
    pattern.remove_prefix(1);
    text.remove_prefix(1);
    return true;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << '<' << line.level << "> " << line.tag << ": " << line.text;
}

std::vector<LogLine> parse_debug_log(const std::string& text) {
    std::vector<LogLine> lines;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        if (end == std::string_view::npos) {
            throw std::runtime_error("the debug log ends within a line");
        }
        lines.push_back(parse_line(rest.substr(0, end)));
        rest.remove_prefix(end + 1);
    }
    return lines;
}

std::vector<LogLine> read_debug_log() {
    const std::string folder = logs_folder + "/zmlogadmagent";
    std::vector<LogLine> lines;
    if (!exists(folder)) {
        return lines;
    }
    for (const std::string& name : names_in(folder)) {
        const std::vector<LogLine> more = parse_debug_log(read_file(folder + "/" + name));
        lines.insert(lines.end(), more.begin(), more.end());
    }
    return lines;
}

bool matches_pattern(const std::string& pattern, const std::string& text) {
    std::string_view pattern_rest = pattern;
    std::string_view text_rest = text;
    while (!pattern_rest.empty()) {
        if (!take_step(pattern_rest, text_rest)) {
            return false;
        }
    }
    return text_rest.empty();
}

bool matches_pattern(const LogLine& pattern, const LogLine& line) {
    return pattern.level == line.level && pattern.tag == line.tag && matches_pattern(pattern.text, line.text);
}
