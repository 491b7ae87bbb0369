// JSON objects as the commands print them. Include this only in one source of a command, because the JSON library takes
// long to compile.
#pragma once

// Without the library's streams, which no command uses.
#define JSON_NO_IO
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "platform/text_encoding.h"

using JsonObject = nlohmann::ordered_json;

// Adds the text to the object. For a text that is not UTF-8, a second field, with "_base64" after the name, has the
// exact bytes.
inline void add_text(JsonObject& object, std::string_view name, std::string_view text) {
    object[name] = text;
    if (!is_utf8(text)) {
        object[std::string(name) + "_base64"] = base64(text);
    }
}

// Returns the object as one line of ASCII, without a newline.
inline std::string to_line(const JsonObject& object) {
    return object.dump(-1, ' ', true, JsonObject::error_handler_t::replace);
}
