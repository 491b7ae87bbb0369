// Puts whole files back as they once were: the counterpart of rewrite_file for what comes from a copy.
//
// Each function holds the lock of the name (as rewrite_file) while it works, acts on the name itself and not on what a
// link of that name leads to, and flushes the folder. At any moment the name has what it had before or all that was
// wanted. They return 0 or an error number; then what had the name still has it, unless flushing the folder was what
// failed, and only the lock file is left. A folder is never made nor replaced. EEXIST says that something else has the
// name of the new file, ".NAME.put"; it is left.
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

// Makes `path` a regular file with this text, mode, owner and attributes, whatever file or link has the name, or none.
[[nodiscard]] int put_file(const std::string& path, const WholeFile& file);

// Makes `path` a symbolic link.
[[nodiscard]] int put_link(const std::string& path, const std::string& target);

// Removes the file or link of that name. One that is not there is removed.
[[nodiscard]] int remove_file(const std::string& path);

}  // namespace platform_library
