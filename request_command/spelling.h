// Suggests words for one that is misspelt.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Returns the smallest number of edits that turns one word into the other. An edit inserts, removes or replaces a
// letter, or swaps two neighbours (the Damerau-Levenshtein distance).
std::size_t edit_distance(std::string_view one, std::string_view other);

// Returns the known words with the fewest edits from the given one; several if they tie. A word is near with at most
// two edits and at most half as many as it has letters. Letter case does not count. Returns nothing when no word is
// near or when the given word is itself known.
std::vector<std::string_view> nearest_words(std::string_view given, const std::vector<std::string_view>& known);

// Returns a remark for a request word, and for each category of a logging request, that looks misspelt: "X is not a
// known request word; did you mean Y?".
std::vector<std::string> spelling_remarks(const std::vector<std::string>& request);
