// Differences of texts, in the form that diff -u gives them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the lines of the hunks, with three lines of context, which turn the one text into the other; none when they
// are the same. Where the texts have little in common the hunks may be larger than they would have to be.
[[nodiscard]] std::vector<std::string> unified_diff(std::string_view from, std::string_view to);
