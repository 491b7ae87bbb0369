// Words that may have been meant by one that is misspelt.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The least number of letters to be inserted, left out or replaced, and of neighbours to be exchanged, that makes one
// word of the other (the Damerau-Levenshtein distance).
std::size_t edit_distance(std::string_view one, std::string_view other);

// Returns those of the known words that are nearest to the given one, all of them where several are equally near.
// Letter case does not count; beyond that, two edits are still near, but at most half of the known word's letters.
// Empty when none is near, and when the given word is a known one.
std::vector<std::string_view> nearest_words(std::string_view given, const std::vector<std::string_view>& known);

// Returns a remark for the word of a request, and for each category of a logging request, that looks misspelt: "X is
// no known request word; did you mean Y?".
std::vector<std::string> spelling_remarks(const std::vector<std::string>& request);
