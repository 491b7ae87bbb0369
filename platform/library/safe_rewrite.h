// The safe rewrite of a file that must never be lost.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/posix.h"

namespace platform_library {

// Returns the new text of a file whose text is `old_text`, or nothing to leave the file as it is.
using Edit = std::function<std::optional<std::string>(const std::string& old_text)>;

// Rewrites the file at `path`, or the target where `path` is a symbolic link. Holds an exclusive flock on `path`.lock
// from reading the file until the end. The lock file is created with mode 0600 and kept. The new text goes to a new
// file in the same folder with the mode, owner and extended attributes of the old one. The new file is flushed to the
// disk and renamed over the old one, and then the folder is flushed. So the name has the whole old or the whole new
// text at any moment, and writers that take the lock do not lose each other's changes. Returns 0 or an error number.
// After an error only the lock file remains, and the file has its old text, unless the error came from flushing the
// folder. EEXIST means that a file that no rewrite made has the name of the new file, ".NAME.new". That file is left in
// place.
[[nodiscard]] int rewrite_file(const std::string& path, const Edit& edit);

// Waits for the lock that rewrite_file takes on a file, and takes it. Closing the descriptor releases it. A `name` that
// is not absolute is relative to the open folder, or to the working directory for AT_FDCWD. On failure the descriptor
// is not valid and errno says why.
[[nodiscard]] Descriptor lock_name(int folder, const std::string& name);

}  // namespace platform_library
