#include "tests/support/log_line.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::string_view digits = "0123456789";

// Parses a log line from its front.
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

}  // namespace

bool LogLine::operator==(const LogLine& other) const {
    return level == other.level && tag == other.tag && text == other.text;
}

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
