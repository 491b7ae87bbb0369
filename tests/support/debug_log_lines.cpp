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

constexpr std::string_view digits_mark = "<digits>";
constexpr std::string_view text_mark = "<text>";
constexpr std::string_view temporary_mark = "<temporary>";

std::size_t count_digits(std::string_view text) {
    return std::min(text.find_first_not_of(digits), text.size());
}

// The length of the name of a temporary directory at the front of the text; 0 when there is none.
std::size_t temporary_length(std::string_view text) {
    constexpr std::string_view prefix = "zmla-";
    constexpr std::size_t middle = 29;
    constexpr std::size_t end = 6;
    constexpr std::size_t length = prefix.size() + middle + 1 + end;
    const std::string_view name = text.substr(0, length);
    const bool is_name =
        name.size() == length && name.starts_with(prefix) && name[prefix.size() + middle] == '-' &&
        name.substr(prefix.size(), middle).find_first_not_of(digits) == std::string_view::npos &&
        name.substr(length - end).find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789") == std::string_view::npos;
    return is_name ? length : 0;
}

bool matches(std::string_view pattern, std::string_view text);

// What the mark at the pattern's front stands for has the length at the text's front; the rest has to match.
bool matches_behind(std::string_view mark, std::string_view pattern, std::size_t length, std::string_view text) {
    return length != 0 && matches(pattern.substr(mark.size()), text.substr(length));
}

bool matches_text_of_any_length(std::string_view pattern, std::string_view text) {
    for (std::size_t length = 1; length <= text.size(); ++length) {
        if (matches_behind(text_mark, pattern, length, text)) {
            return true;
        }
    }
    return false;
}

bool matches(std::string_view pattern, std::string_view text) {
    while (!pattern.empty()) {
        if (pattern.starts_with(digits_mark)) {
            return matches_behind(digits_mark, pattern, count_digits(text), text);
        }
        if (pattern.starts_with(temporary_mark)) {
            return matches_behind(temporary_mark, pattern, temporary_length(text), text);
        }
        if (pattern.starts_with(text_mark)) {
            return matches_text_of_any_length(pattern, text);
        }
        if (text.empty() || text.front() != pattern.front()) {
            return false;
        }
        pattern.remove_prefix(1);
        text.remove_prefix(1);
    }
    return text.empty();
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
    return matches(pattern, text);
}

bool matches_pattern(const LogLine& pattern, const LogLine& line) {
    return pattern.level == line.level && pattern.tag == line.tag && matches_pattern(pattern.text, line.text);
}
