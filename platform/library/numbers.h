// Decimal numbers in texts that consist of an optional "-" and digits.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace platform_library {

// Sets `number` and returns std::errc(). Returns invalid_argument for a text that is not a number, and
// result_out_of_range for a number that does not fit the type.
template <typename Number>
std::errc parse_number(std::string_view text, Number& number) {
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    return result.ptr == end ? result.ec : std::errc::invalid_argument;
}

// Returns the number, or nothing for a text that is not a signed 32-bit number.
inline std::optional<std::int32_t> parse_int32(std::string_view text) {
    std::int32_t number = 0;
    if (parse_number(text, number) != std::errc()) {
        return std::nullopt;
    }
    return number;
}

}  // namespace platform_library
