// Small text functions of the handlers. Callers rely on their exact rules, including the odd ones.
#pragma once

#include <string>
#include <vector>

// Returns the text without leading and trailing blanks, tabs, carriage returns and line feeds. A text that consists
// only of these is returned unchanged.
std::string trim_spaces(std::string text);

// Returns what follows the last "/" of an absolute path. For any other path with a backslash, returns what follows the
// last backslash. Both ignore blanks around the path. Returns a path of neither kind unchanged, blanks included: "a/b"
// stays "a/b".
std::string get_basename(std::string path);

// Splits the text at the first "=". Without "=", `lhs` becomes the whole text and `rhs` keeps its value, so that
// callers can set a default.
void split_lhs_rhs(std::string text, std::string& lhs, std::string& rhs);

// Returns a copy with every byte passed through toupper.
std::string stringupper(const std::string& text);

// Appends the pieces between the delimiters to `pieces`, including empty ones: n delimiters make n + 1 pieces.
void split_string(const std::string& text, char delimiter, std::vector<std::string>& pieces);

// Returns whether the text is exactly "MASTER", "MEDIA" or "CLIENT".
bool valid_host_type(std::string text);
