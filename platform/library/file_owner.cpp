#include "platform/library/file_owner.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform_library {

int give_owner(int file, uid_t owner, gid_t group) {
    struct stat state {};
    if (fstat(file, &state) != 0) {
        return errno;
    }
    const bool has_owner = state.st_uid == owner && state.st_gid == group;
    return has_owner || fchown(file, owner, group) == 0 ? 0 : errno;
}

}  // namespace platform_library
