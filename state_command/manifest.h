// The manifest of a saved state. It is a text with one item a line and one blank between fields. The last line is a
// digest of all other lines. In fields, backslashes and the bytes 0 to 32 and 127 are written as \xHH.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "state_command/product_state.h"

// Returns the manifest's text. It has the size and the digest of each file, and not the file's own text.
[[nodiscard]] std::string encode_manifest(const ProductState& state);

// The manifest's entry for the copy of a file.
struct CopyOf {
    std::size_t size = 0;
    std::string digest;
};

struct Manifest {
    ProductState state;
    std::map<std::string, CopyOf> copies;  // by the file's path
};

// Returns the manifest, or nothing for a text that is not exactly a whole manifest.
[[nodiscard]] std::optional<Manifest> decode_manifest(std::string_view text);
