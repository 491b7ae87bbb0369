// The state of one name in the file system, for saving and comparing.
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/library/extended_attributes.h"

// The size from which on a file is unread, with EFBIG. No configuration file comes near it. Without a limit, other
// users could exhaust the memory with a file of theirs.
inline constexpr std::size_t most_bytes_of_file = std::size_t{64} << 20U;

struct FileState {
    enum class Kind { missing, file, link, unread };
    Kind kind = Kind::missing;
    int error = 0;  // why it is unread

    // The content of a file, or the target of a link.
    std::string text = {};

    // Of a link: whether no other user can have made it.
    bool is_trusted = false;

    // Of a file.
    mode_t mode = 0;  // permission bits
    uid_t owner = 0;
    gid_t group = 0;
    timespec accessed{};
    timespec modified{};
    platform_library::ExtendedAttributes attributes = {};
};

// Reads the state of the name itself: does not follow a link. On the way there, follows only links that no other user
// can have made; with any other link the state is unread, with platform_library::untrusted_link. A name that is neither
// a file nor a link is unread too.
[[nodiscard]] FileState read_file_state(const std::string& path);

// Returns permission bits as four octal digits.
[[nodiscard]] std::string mode_text(mode_t mode);

// Returns whether both are the same to a reader of the file. Ignores times.
[[nodiscard]] bool is_same(const FileState& one, const FileState& other);
