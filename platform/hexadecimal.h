// Bytes as pairs of hexadecimal digits in lower case.
#pragma once

#include <optional>
#include <string>
#include <string_view>

inline std::string to_hexadecimal(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4U];
        text += digits[value & 0xFU];
    }
    return text;
}

// Returns the bytes, or nothing for a text of any other form.
inline std::optional<std::string> from_hexadecimal(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    if (text.size() % 2 != 0 || text.find_first_not_of(digits) != std::string_view::npos) {
        return std::nullopt;
    }
    std::string bytes;
    for (; !text.empty(); text.remove_prefix(2)) {
        bytes += static_cast<char>(digits.find(text[0]) << 4U | digits.find(text[1]));
    }
    return bytes;
}
