// Changes to single lines of a text, all other bytes kept.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform_library {

// What becomes of the lines of one key: with a text, it stands in the place of the first of them and the later
// ones go, or it is added at the end when there is none; without one, all of them go.
using LineEdit = std::optional<std::string>;

// Tells which of the edits a line belongs to; nothing for a line that belongs to none.
using FindEdit = std::function<std::optional<std::size_t>(std::string_view line)>;

// Returns the text with the edits applied, additions in the order of the edits, or nothing when no line
// changes. A last line without a newline gains one.
std::optional<std::string> apply_line_edits(std::string_view text, const std::vector<LineEdit>& edits,
                                            const FindEdit& find_edit);

}  // namespace platform_library
