// The one safe way to rewrite a file that a user cannot afford to lose.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/posix.h"

namespace platform_library {

// Returns the new text of a file whose text is `old_text`, or nothing when it is to stay as it is.
using Edit = std::function<std::optional<std::string>(const std::string& old_text)>;

// Rewrites the file at `path`; where that is a symbolic link, the file that it leads to. From its read to its end
// it holds an exclusive flock on the name with ".lock" behind it (created with mode 0600, left in place). The new
// text goes into a new file of the same folder, with the mode, owner and extended attributes of the old one; it is
// flushed to the disk, renamed over the old one, and the folder is flushed. So the name holds the whole old or the
// whole new text at any moment, and no writer that keeps to the lock loses another's change.
// Returns 0, or an error number; then nothing but the lock file is left behind, and the old text stands unless
// flushing the folder was what failed. EEXIST says that something which no rewrite made has the name of the new file,
// ".NAME.new"; it is left.
[[nodiscard]] int rewrite_file(const std::string& path, const Edit& edit);

// Takes the lock of rewrite_file on the name, and waits for it. The lock goes with `lock`. Returns 0 or an error
// number.
[[nodiscard]] int lock_name(const std::string& path, Descriptor& lock);

}  // namespace platform_library
