// Files read as lines.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the lines of a text, without their newlines and with every other byte. A last line without a newline
// is a line; the empty text has none. The lines point into `text`.
std::vector<std::string_view> split_lines(std::string_view text);

// Tells whether the line contains the text anywhere.
bool contains(std::string_view line, std::string_view text);
