// Decimal numbers in text: an optional "-" and digits, nothing else around them.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace platform_library {

// Sets `number` and returns no error, or returns invalid_argument for text that is no number, or
// result_out_of_range for one that the type does not hold.
template <typename Number>
std::errc parse_number(std::string_view text, Number& number) {
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    return result.ptr == end ? result.ec : std::errc::invalid_argument;
}

// Returns the number, or nothing for text that is no signed 32-bit number.
inline std::optional<std::int32_t> parse_int32(std::string_view text) {
    std::int32_t number = 0;
    if (parse_number(text, number) != std::errc()) {
        return std::nullopt;
    }
    return number;
}

}  // namespace platform_library
