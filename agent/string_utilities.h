// Small text functions of the handlers. Each has one exact rule, the odd ones included, that callers rely on.
#pragma once

#include <string>
#include <vector>

// Returns the text without leading and trailing blanks, tabs, carriage returns and line feeds. A text of
// nothing else comes back unchanged, not emptied.
std::string trim_spaces(std::string text);

// Returns the last component of a path whose first character, blanks aside, is "/" (empty when the path ends in
// "/"), or what follows the last backslash of any other path that has one. Any other path comes back exactly as
// it was passed: "a/b" stays "a/b", blanks around it stay too.
std::string get_basename(std::string path);

// Splits at the first "=". Without "=", all of the text becomes `lhs` and `rhs` keeps what it held, so that
// callers can put a default there.
void split_lhs_rhs(std::string text, std::string& lhs, std::string& rhs);

// Returns a copy with every byte passed through toupper.
std::string stringupper(const std::string& text);

// Appends the pieces between the delimiters, the empty ones and the last included: n delimiters, n + 1 pieces.
void split_string(const std::string& text, char delimiter, std::vector<std::string>& pieces);

// Tells whether the text is exactly "MASTER", "MEDIA" or "CLIENT".
bool valid_host_type(std::string text);
