// Changes to single lines of a text. All other bytes stay the same.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform_library {

// A change to the lines of one key. With a text, the text replaces the first of the lines and the others are removed;
// without such lines, the text is added at the end. Without a text, all of the lines are removed.
using LineEdit = std::optional<std::string>;

// Returns the index of the edit that a line belongs to, or nothing.
using FindEdit = std::function<std::optional<std::size_t>(std::string_view line)>;

// Returns the text with the edits applied, or nothing when no line changes. Adds lines in the order of the edits. Adds
// a newline to a last line without one.
std::optional<std::string> apply_line_edits(std::string_view text, const std::vector<LineEdit>& edits,
                                            const FindEdit& find_edit);

}  // namespace platform_library
