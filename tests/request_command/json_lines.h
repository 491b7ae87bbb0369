// Reads the output of --json.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <ostream>
#include <stdexcept>
#include <string_view>
#include <vector>

using Json = nlohmann::json;
using JsonLines = std::vector<Json>;

// Appends those lines of the text that are objects to the file that the environment variable ZMLA_JSON_OBJECTS names. A
// later test validates them all.
void keep_objects(std::string_view text);

// Throws unless every line is an object that begins with its type and ends with a newline. Keeps the objects.
[[nodiscard]] JsonLines json_lines(std::string_view text);

// Returns the objects of an answer without the request object and without the elapsed time of the status. Throws if
// either is missing.
[[nodiscard]] JsonLines answer_lines(std::string_view text);
