// What the command prints with --json, read back.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <ostream>
#include <stdexcept>
#include <string_view>
#include <vector>

using Json = nlohmann::json;
using JsonLines = std::vector<Json>;

// Throws unless every line is an object of its own that begins with its type and ends with a newline. Adds the lines to
// the file that the environment variable ZMLA_JSON_OBJECTS names, where they are validated when all tests have ended.
[[nodiscard]] JsonLines json_lines(std::string_view text);

// The objects of an answer: without the first one, which is that of the request, and without the time that the status
// shows. Throws when either is missing.
[[nodiscard]] JsonLines answer_lines(std::string_view text);
