// Opens folders without following links that other users can have made.
#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/posix.h"

namespace platform_library {

// The error number for a link that is not followed. Linux uses this number for no call that opens a file.
inline constexpr int untrusted_link = EMLINK;

// Returns whether only root and this process's user can change the names in the folder. Its links are then trusted.
[[nodiscard]] bool is_trusted(const struct stat& folder);
[[nodiscard]] bool is_trusted(const Descriptor& folder);

// A folder that is held open (O_PATH).
struct OpenFolder {
    Descriptor descriptor;
    std::string path;  // absolute, without links and without a slash at its end; empty for the root folder
};

// Opens the folder at the absolute path. Follows links only in trusted folders: with a link in any other folder,
// another user could make root read and write anywhere. On failure the descriptor is not valid, errno says why, and the
// path is that of the name that could not be opened. For a link that is not followed errno is untrusted_link.
[[nodiscard]] OpenFolder open_folder(const std::string& path);

}  // namespace platform_library
