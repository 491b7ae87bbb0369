#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/runtime.h"

namespace {

constexpr mode_t parent_mode = 0755;

// Creates the missing folders above the last component. Returns whether that worked; if not, errno says why.
bool make_parents(const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        if (mkdir(path.substr(0, slash).c_str(), parent_mode) != 0 && errno != EEXIST) {
            return false;
        }
    }
    return true;
}

// Returns 0, or -1 and sets errno.
int make_directory(std::string path, mode_t mode) {
    // "a/b", "a/b/" and "a/b/." all have the last component "b"; make_parents must not create it.
    while (path.size() > 1 && (path.back() == '/' || path.ends_with("/."))) {
        path.pop_back();
    }
    if (mkdir(path.c_str(), mode) == 0) {
        return 0;
    }
    return errno == ENOENT && make_parents(path) ? mkdir(path.c_str(), mode) : -1;
}

bool is_directory(const char* path) {
    struct stat state {};
    return stat(path, &state) == 0 && S_ISDIR(state.st_mode);
}

}  // namespace

short getDirCreationMode(const char*) {
    return 0755;
}

int mklogdirpath(const char* path, int mode, int* error) {
    *error = 0;
    if (make_directory(path, static_cast<mode_t>(mode)) == 0) {
        return 0;
    }
    *error = errno;
    if (*error != EEXIST) {
        return -1;
    }
    if (is_directory(path)) {
        return 0;
    }
    *error = ENOTDIR;
    errno = ENOTDIR;
    return -1;
}
