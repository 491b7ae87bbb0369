// Frames values for a connection. get_long and get_string of platform/network.h read them.
#pragma once

#include <string>
#include <string_view>

namespace platform_library {

// Returns the text as a netstring: its length in bytes, ":", the bytes, ",". To frame a number, pass its decimal text.
inline std::string netstring(std::string_view text) {
    std::string framed = std::to_string(text.size());
    framed += ':';
    framed += text;
    framed += ',';
    return framed;
}

}  // namespace platform_library
