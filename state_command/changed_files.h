// The files that the logging requests change.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "state_command/output.h"

// Returns the paths, in the order of the categories, each once.
[[nodiscard]] std::vector<std::string> changed_files(Problems& problems);

// Returns the file that the registry of the deduplication components names; nothing where the registry is missing or
// names none.
[[nodiscard]] std::optional<std::string> registered_file(Problems& problems);

// Tells whether the path is absolute, and has no empty component, "." or "..".
[[nodiscard]] bool is_plain(const std::string& path);

// Returns the path as an absolute one without links, "." or ".." in its folder; a path that is one comes back as it is.
// Nothing where the folder is missing.
[[nodiscard]] std::optional<std::string> place_of(const std::string& path);

// Reads the file that the path leads to, as a component does; nothing where it is missing.
[[nodiscard]] std::optional<std::string> read_text(const std::string& path, Problems& problems);
