// The files that the logging requests change.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "state_command/output.h"

// Returns the paths, in the order of the categories, each once.
[[nodiscard]] std::vector<std::string> changed_files(Problems& problems);

// Returns the path of the file that the registry of the deduplication components names, or nothing where the registry
// is missing or names no file.
[[nodiscard]] std::optional<std::string> registered_file(Problems& problems);

// Returns whether the path is absolute, and has no zero byte and no component that is empty, "." or "..".
[[nodiscard]] bool is_plain(const std::string& path);

// Returns an absolute path that leads to the same name, without links, "." or ".." on the way to its folder. Returns
// nothing where the folder is missing, or where another user can have made a link on the way, which is then a problem.
[[nodiscard]] std::optional<std::string> place_of(const std::string& path, Problems& problems);

// Reads the file at the path as a component does: follows every link. A missing file is empty. Returns nothing where
// the file cannot be read, which is then a problem.
[[nodiscard]] std::optional<std::string> read_text(const std::string& path, Problems& problems);
