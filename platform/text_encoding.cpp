#include "platform/text_encoding.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/hexadecimal.h"

namespace {

constexpr std::size_t longest_character = 4;

bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// One kind of character: its first bytes, its length and its second bytes. The limits of the second byte exclude
// overlong forms, surrogates and numbers above U+10FFFF.
struct Kind {
    unsigned char first;
    unsigned char last;
    std::size_t length;
    unsigned char least_second = 0x80;
    unsigned char most_second = 0xBF;
};

constexpr std::array kinds = {
    Kind{.first = 0x00, .last = 0x7F, .length = 1},
    Kind{.first = 0xC2, .last = 0xDF, .length = 2},
    Kind{.first = 0xE0, .last = 0xE0, .length = 3, .least_second = 0xA0},
    Kind{.first = 0xE1, .last = 0xEC, .length = 3},
    Kind{.first = 0xED, .last = 0xED, .length = 3, .most_second = 0x9F},
    Kind{.first = 0xEE, .last = 0xEF, .length = 3},
    Kind{.first = 0xF0, .last = 0xF0, .length = 4, .least_second = 0x90},
    Kind{.first = 0xF1, .last = 0xF3, .length = 4},
    Kind{.first = 0xF4, .last = 0xF4, .length = 4, .most_second = 0x8F},
};

bool is_character(std::string_view bytes, const Kind& kind) {
    if (bytes.size() < kind.length) {
        return false;
    }
    for (std::size_t i = 1; i < kind.length; ++i) {
        if (!is_continuation(bytes[i])) {
            return false;
        }
    }
    const auto second = kind.length > 1 ? static_cast<unsigned char>(bytes[1]) : kind.least_second;
    return second >= kind.least_second && second <= kind.most_second;
}

// Returns the length of the character at the start of the bytes, or 0 when they do not start with a valid one.
std::size_t character_length(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes.front());
    for (const Kind& kind : kinds) {
        if (first >= kind.first && first <= kind.last) {
            return is_character(bytes, kind) ? kind.length : 0;
        }
    }
    return 0;
}

// Returns whether a terminal acts on the character, or on the byte that is no character: one below the blank, DEL, or
// one from U+0080 to U+009F.
bool is_control(std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    if (character.size() == 1) {
        return first < 0x20 || first == 0x7F || (first >= 0x80 && first < 0xA0);
    }
    return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

// Removes the first character from the bytes and returns it, or the first byte where that begins no character.
std::string_view take_character(std::string_view& bytes) {
    const std::string_view character = bytes.substr(0, std::max<std::size_t>(character_length(bytes), 1));
    bytes.remove_prefix(character.size());
    return character;
}

std::string escape_bytes(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += "\\x" + to_hexadecimal({&byte, 1});
    }
    return text;
}

}  // namespace

bool is_utf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = character_length(bytes);
        if (length == 0) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

std::string printable(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const std::string_view character = take_character(bytes);
        if (character == "\\") {
            text += "\\\\";
        } else if (is_utf8(character) && !is_control(character)) {
            text += character;
        } else {
            text += escape_bytes(character);
        }
    }
    return text;
}

std::string escape_controls(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const std::string_view character = take_character(bytes);
        if (character == "\n") {
            text += "\\n";
        } else if (character == "\r") {
            text += "\\r";
        } else if (character == "\t") {
            text += "\\t";
        } else if (is_control(character)) {
            text += escape_bytes(character);
        } else {
            text += character;
        }
    }
    return text;
}

std::string base64(std::string_view bytes) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(3, bytes.size()))) {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i != 3; ++i) {
            group = group << 8U | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U);
        }
        for (std::size_t i = 0; i != 4; ++i) {
            text += i <= bytes.size() ? digits[group >> (18 - 6 * i) & 0x3FU] : '=';
        }
    }
    return text;
}

std::size_t length_to_character_end(std::string_view bytes, std::size_t most) {
    if (bytes.size() <= most) {
        return bytes.size();
    }
    std::size_t end = most;
    while (end != 0 && most - end < longest_character && is_continuation(bytes[end])) {
        --end;
    }
    return end != 0 && character_length(bytes.substr(end)) > most - end ? end : most;
}
