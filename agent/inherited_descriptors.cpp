#include "agent/inherited_descriptors.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "platform/posix.h"

namespace {

// Returns false if the system does not allow it. A number that is not an open descriptor counts as success.
bool keep_from_programs(int fd) {
    return fcntl(fd, F_SETFD, FD_CLOEXEC) == 0 || errno == EBADF;
}

// Returns the descriptor that an entry of /proc/self/fd names, or -1 for "." and "..".
int descriptor_named(const char* name) {
    int fd = -1;
    std::from_chars(name, name + strlen(name), fd);
    return fd;
}

// Returns whether the listing can be trusted. A listing that lacks the descriptor from which it is read is not that of
// this process: /proc may be an ordinary folder.
bool keep_listed_from_programs(int first) {
    const Directory listing(opendir("/proc/self/fd"));
    if (!listing) {
        return false;
    }
    bool lists_itself = false;
    while (const dirent* entry = readdir(listing.get())) {
        const int fd = descriptor_named(entry->d_name);
        lists_itself = lists_itself || fd == dirfd(listing.get());
        if (fd >= first) {
            static_cast<void>(keep_from_programs(fd));
        }
    }
    return lists_itself;
}

// Tries every number that a descriptor is likely to have. The soft limit is no bound: descriptors stay open above a
// limit that is lowered later. The hard limit can be a billion, which would take minutes, so the loop ends at 2^20, the
// kernel's default for the highest hard limit.
void keep_possible_from_programs(int first) {
    constexpr rlim_t fewest = rlim_t{1} << 16;
    constexpr rlim_t most = rlim_t{1} << 20;
    rlimit limit{};
    const rlim_t hard_limit = getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_max : most;
    const int end = static_cast<int>(std::clamp(hard_limit, fewest, most));
    for (int fd = first; fd < end && keep_from_programs(fd); ++fd) {
    }
}

}  // namespace

void keep_descriptors_from_programs(int first) {
    // Linux 5.11 and later mark them all in one call. Earlier kernels lack the flag or the call.
    if (close_range(static_cast<unsigned>(first), ~0U, CLOSE_RANGE_CLOEXEC) == 0 || keep_listed_from_programs(first)) {
        return;
    }
    keep_possible_from_programs(first);
}
