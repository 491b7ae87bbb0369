// Restores whole files from a copy.
//
// Each function holds the lock of the name while it works, as rewrite_file does. On the way to the folder it follows
// only links that no other user can have made; for any other link it returns untrusted_link. It acts on the name
// itself: when the name is a link, it replaces the link and not the link's target. It flushes the folder. At any moment
// the name has its whole old or its whole new content. The functions return 0 or an error number. After an error the
// name is unchanged, unless the error came from flushing the folder, and only the lock file remains. They never
// create or replace a folder. EEXIST means that a file that no restore made has the name of the new file, ".NAME.put".
// That file is left in place.
#pragma once

#include <sys/types.h>

#include <string>

#include "platform/library/extended_attributes.h"

namespace platform_library {

struct WholeFile {
    std::string text;
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
    ExtendedAttributes attributes;
};

// Makes `path` a regular file with this text, mode, owner and attributes. Replaces a file or link of that name.
[[nodiscard]] int put_file(const std::string& path, const WholeFile& file);

// Makes `path` a symbolic link to `target`. Replaces a file or link of that name.
[[nodiscard]] int put_link(const std::string& path, const std::string& target);

// Removes the file or link `path`. Succeeds when there is none.
[[nodiscard]] int remove_file(const std::string& path);

}  // namespace platform_library
