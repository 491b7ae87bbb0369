// Takes the fields of a response line apart, for the parsers of its forms.
#pragma once

#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

#include "request_command/answer_line.h"

using Text = std::optional<std::string_view>;
using Fields = std::vector<AnswerField>;

inline constexpr auto absent = std::string_view::npos;

// Splits a line into the texts that follow its keys; an absent key has no text. Returns nothing when a key occurs twice
// or out of order: then a value contains it and no text can be trusted.
template <std::size_t count>
std::optional<std::array<Text, count>> split_at_keys(std::string_view line,
                                                     const std::array<const char*, count>& keys) {
    std::array<Text, count> texts;
    Text* previous = nullptr;
    std::size_t behind_key = 0;
    for (std::size_t i = 0; i != count; ++i) {
        const std::size_t found = line.find(keys[i]);
        if (found == absent) {
            continue;
        }
        if (found < behind_key || line.find(keys[i], found + 1) != absent) {
            return std::nullopt;
        }
        if (previous != nullptr) {
            *previous = line.substr(behind_key, found - behind_key);
        }
        behind_key = found + std::string_view(keys[i]).size();
        texts[i] = line.substr(behind_key);
        previous = &texts[i];
    }
    return texts;
}

// Returns the number if the text has the form that agents print: no "+" and no leading zeros.
template <typename Number>
std::optional<Number> number_of(std::string_view text) {
    Number number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || std::to_string(number) != text) {
        return std::nullopt;
    }
    return number;
}
