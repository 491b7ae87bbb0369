#include "logging_config/text_lines.h"

namespace {

std::size_t count_newlines(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1)) {
        ++count;
    }
    return count;
}

}  // namespace

std::vector<std::string_view> split_lines(std::string_view text) {
    std::vector<std::string_view> lines;
    lines.reserve(count_newlines(text) + 1);
    for_each_line(text, [&](std::string_view line) { lines.push_back(line); });
    return lines;
}

bool contains(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}
