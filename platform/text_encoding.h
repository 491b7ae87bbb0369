// Bytes that need not be text, on their way into a text format.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Tells whether the bytes are whole and valid UTF-8: no overlong forms, no surrogates, nothing beyond U+10FFFF.
bool is_utf8(std::string_view bytes);

// Returns the bytes for people to read on a terminal: what controls one, and what is not UTF-8, as "\xHH" for each
// byte, and a backslash as two.
std::string printable(std::string_view bytes);

// Returns the bytes in base64, with padding.
std::string base64(std::string_view bytes);

// Returns the length of the longest beginning of the bytes that has at most `most` of them and ends between two
// characters, as far as the bytes are UTF-8; `most` itself where they are not.
std::size_t length_to_character_end(std::string_view bytes, std::size_t most);
