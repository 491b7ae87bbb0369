// A saved state in a folder. The folder has the manifest and, below "files", a copy of each file at the file's path.
#pragma once

#include <string>

#include "state_command/product_state.h"

// Names in the folder.
namespace saved {
inline constexpr const char* manifest = "manifest";
inline constexpr const char* copies = "files";
}  // namespace saved

// Reads the state with the texts of the files. Throws a Failure when the folder, its manifest or a copy is missing or
// not whole. Throws one too when the folder or its manifest belongs to neither root nor this process's user, or when
// others can write it.
[[nodiscard]] ProductState read_saved_state(const std::string& folder);

// Saves the state in a new folder, which appears with its whole content or not at all. Throws a Failure when the name
// exists or anything cannot be written.
void write_saved_state(const ProductState& state, const std::string& folder);
