// A saved state in its folder: the manifest, and the copies of the files below "files", each with the path of its file.
#pragma once

#include <string>

#include "state_command/product_state.h"

// Where things are in the folder.
namespace saved {
inline constexpr const char* manifest = "manifest";
inline constexpr const char* copies = "files";
}  // namespace saved

// Reads the state, the texts of the files with it. Throws a Failure where the folder, its manifest or a copy is
// missing, not whole, or another user's than root's and this process's, or where others can write into the folder.
[[nodiscard]] ProductState read_saved_state(const std::string& folder);

// Saves the state in a new folder, which appears with all that it holds or not at all. Throws a Failure where something
// has its name or it cannot be made whole.
void write_saved_state(const ProductState& state, const std::string& folder);
