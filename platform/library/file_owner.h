// Owner and group of an open file.
#pragma once

#include <sys/types.h>

namespace platform_library {

// Gives the file this owner and group, unless it has them already. Returns 0 or an error number.
[[nodiscard]] int give_owner(int file, uid_t owner, gid_t group);

}  // namespace platform_library
