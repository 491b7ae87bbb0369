// Lines of a text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the lines of a text without their newlines. The last line needs no newline; an empty text has no lines. The
// lines point into `text`.
std::vector<std::string_view> split_lines(std::string_view text);

// Returns whether the line contains the text anywhere.
bool contains(std::string_view line, std::string_view text);
