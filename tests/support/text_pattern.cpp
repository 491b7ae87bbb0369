#include "tests/support/text_pattern.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr std::string_view digits = "0123456789";
constexpr std::string_view digits_mark = "<digits>";
constexpr std::string_view text_mark = "<text>";
constexpr std::string_view temporary_mark = "<temporary>";

std::size_t count_digits(std::string_view text) {
    return std::min(text.find_first_not_of(digits), text.size());
}

// Returns the length of the name of a temporary directory at the front of the text; 0 when there is none.
std::size_t temporary_length(std::string_view text) {
    constexpr std::string_view prefix = "zmla-";
    constexpr std::size_t middle = 29;
    constexpr std::size_t end = 6;
    constexpr std::size_t length = prefix.size() + middle + 1 + end;
    const std::string_view name = text.substr(0, length);
    const bool is_name =
        name.size() == length && name.starts_with(prefix) && name[prefix.size() + middle] == '-' &&
        name.substr(prefix.size(), middle).find_first_not_of(digits) == std::string_view::npos &&
        name.substr(length - end).find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789") == std::string_view::npos;
    return is_name ? length : 0;
}

bool matches(std::string_view pattern, std::string_view text);

// The mark at the front of the pattern takes `length` bytes of the text; 0 means that it does not match.
bool matches_after(std::string_view mark, std::string_view pattern, std::size_t length, std::string_view text) {
    return length != 0 && matches(pattern.substr(mark.size()), text.substr(length));
}

bool matches_text_of_any_length(std::string_view pattern, std::string_view text) {
    for (std::size_t length = 1; length <= text.size(); ++length) {
        if (matches_after(text_mark, pattern, length, text)) {
            return true;
        }
    }
    return false;
}

bool matches(std::string_view pattern, std::string_view text) {
    while (!pattern.empty()) {
        if (pattern.starts_with(digits_mark)) {
            return matches_after(digits_mark, pattern, count_digits(text), text);
        }
        if (pattern.starts_with(temporary_mark)) {
            return matches_after(temporary_mark, pattern, temporary_length(text), text);
        }
        if (pattern.starts_with(text_mark)) {
            return matches_text_of_any_length(pattern, text);
        }
        if (text.empty() || text.front() != pattern.front()) {
            return false;
        }
        pattern.remove_prefix(1);
        text.remove_prefix(1);
    }
    return text.empty();
}

}  // namespace

bool matches_pattern(const std::string& pattern, const std::string& text) {
    return matches(pattern, text);
}
