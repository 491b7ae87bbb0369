// Differences of texts in the format of "diff -u".
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the lines of the hunks that turn one text into the other, with three lines of context. Returns no lines when
// the texts are the same. When they have little in common, the hunks can be larger than necessary.
[[nodiscard]] std::vector<std::string> unified_diff(std::string_view from, std::string_view to);
