#include "platform/library/line_edits.h"

#include "platform/library/text_file.h"

namespace platform_library {

std::optional<std::string> apply_line_edits(std::string_view text, const std::vector<LineEdit>& edits,
                                            const FindEdit& find_edit) {
    std::string result;
    result.reserve(text.size());
    bool changed = false;
    std::vector<bool> placed(edits.size());
    const auto add = [&](std::string_view line) {
        result += line;
        result += '\n';
    };
    for_each_line(text, [&](std::string_view line) {
        const std::optional<std::size_t> index = find_edit(line);
        if (!index) {
            add(line);
        } else if (!edits[*index] || placed[*index]) {
            changed = true;
        } else {
            placed[*index] = true;
            changed = changed || line != *edits[*index];
            add(*edits[*index]);
        }
    });
    for (std::size_t i = 0; i < edits.size(); ++i) {
        if (edits[i] && !placed[i]) {
            changed = true;
            add(*edits[i]);
        }
    }
    return changed ? std::optional(std::move(result)) : std::nullopt;
}

}  // namespace platform_library
