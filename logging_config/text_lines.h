// Lines of a text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Calls `visit` with each line of a text, as split_lines returns them.
template <typename Visitor>
void for_each_line(std::string_view text, Visitor visit) {
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        visit(text.substr(0, newline));
        text.remove_prefix(newline == std::string_view::npos ? text.size() : newline + 1);
    }
}

// Returns the lines of a text without their newlines. The last line needs no newline; an empty text has no lines. The
// lines point into `text`.
std::vector<std::string_view> split_lines(std::string_view text);

// Returns whether the line contains the text anywhere.
bool contains(std::string_view line, std::string_view text);
