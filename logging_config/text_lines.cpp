#include "logging_config/text_lines.h"

#include <algorithm>

std::vector<std::string_view> split_lines(std::string_view text) {
    std::vector<std::string_view> lines;
    lines.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        lines.push_back(text.substr(0, newline));
        text.remove_prefix(newline == std::string_view::npos ? text.size() : newline + 1);
    }
    return lines;
}

bool contains(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}
