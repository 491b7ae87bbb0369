// One name in the file system, as it is saved and compared.
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/library/extended_attributes.h"

struct FileState {
    enum class Kind { missing, file, link, unread };
    Kind kind = Kind::missing;
    int error = 0;  // why it is unread

    // What a file holds, or where a link leads.
    std::string text = {};

    // Of a file.
    mode_t mode = 0;  // permission bits
    uid_t owner = 0;
    gid_t group = 0;
    timespec accessed{};
    timespec modified{};
    platform_library::ExtendedAttributes attributes = {};
};

// Reads what has the name itself: a link is not followed. What is neither a file nor a link is unread.
[[nodiscard]] FileState read_file_state(const std::string& path);

// Returns permission bits as four octal digits.
[[nodiscard]] std::string mode_text(mode_t mode);

// Tells whether both are the same to a reader of the file. Times do not count.
[[nodiscard]] bool is_same(const FileState& one, const FileState& other);
