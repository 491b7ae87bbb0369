// The manifest of a saved state: text, one thing a line, its fields apart by one blank, its last line a digest of all
// others. Bytes up to 32, 127 and backslashes in names are written \xHH.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "state_command/product_state.h"

// Returns the text. A file's own text is not in it, but its size and digest.
[[nodiscard]] std::string encode_manifest(const ProductState& state);

// What a manifest says of the copy of a file.
struct CopyOf {
    std::size_t size = 0;
    std::string digest;
};

struct Manifest {
    ProductState state;
    std::map<std::string, CopyOf> copies;  // by the file's path
};

// Returns nothing for what is not a whole manifest, to the letter.
[[nodiscard]] std::optional<Manifest> decode_manifest(std::string_view text);
