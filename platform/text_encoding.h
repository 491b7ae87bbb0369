// Conversions of any bytes into text formats.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Returns whether the bytes are complete and valid UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool is_utf8(std::string_view bytes);

// Returns the bytes in a form that is safe to print on a terminal. Writes each byte of a control character, or of
// anything that is not UTF-8, as "\xHH", and a backslash as two.
std::string printable(std::string_view bytes);

// Returns the bytes with every control character as \n, \r, \t or \xHH. Control characters are those below the blank,
// DEL, and U+0080 to U+009F, as UTF-8 or as single bytes. Does not change other bytes, backslashes among them.
std::string escape_controls(std::string_view bytes);

// Returns the bytes in base64, with padding.
std::string base64(std::string_view bytes);

// Returns the length of the longest prefix of at most `most` bytes that does not end within a UTF-8 character. Where
// the bytes are not UTF-8, only `most` limits it.
std::size_t length_to_character_end(std::string_view bytes, std::size_t most);
