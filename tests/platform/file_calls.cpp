// The wrappers of system calls about files, except reading and writing them.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "tests/platform/recorded_call.h"
#include "tests/platform/system_calls.h"
#include "tests/support/failing_calls.h"

using failing_calls::fails;
using system_calls::fail;
using system_calls::overrides;
using system_calls::record;

namespace {

// Answers a query of attributes, which only reports the size when it has no buffer.
ssize_t answer(const std::string& text, void* buffer, size_t size) {
    if (size != 0 && size < text.size()) {
        return fail(ERANGE);
    }
    if (size != 0) {
        memcpy(buffer, text.data(), text.size());
    }
    return static_cast<ssize_t>(text.size());
}

// Returns whether what this query reads has outgrown its buffer. Counts down how often it does.
bool has_grown(size_t size) {
    return size != 0 && overrides.attributes_grown > 0 && overrides.attributes_grown-- > 0;
}

}  // namespace

// Names of the linker: see system_calls.cpp.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int __real_fsync(int fd);
int __real_flock(int fd, int operation);
int __real_fstat(int fd, struct stat* state);
int __real_fchown(int fd, uid_t user, gid_t group);
int __real_fchmod(int fd, mode_t mode);
int __real_fsetxattr(int fd, const char* name, const void* value, size_t size, int flags);
int __real_fremovexattr(int fd, const char* name);
ssize_t __real_flistxattr(int fd, char* list, size_t size);
ssize_t __real_fgetxattr(int fd, const char* name, void* value, size_t size);
int __real_rename(const char* from, const char* to);
int __real_renameat(int from_folder, const char* from, int to_folder, const char* to);
int __real_unlinkat(int folder, const char* name, int flags);

int __wrap_fsync(int fd) {
    struct stat state {};
    const bool is_folder = __real_fstat(fd, &state) == 0 && S_ISDIR(state.st_mode);
    record(is_folder ? "flush folder" : "flush file");
    return fails("fsync", is_folder ? "folder" : "file") ? -1 : __real_fsync(fd);
}

int __wrap_flock(int fd, int operation) {
    record("lock");
    return fails("flock") ? -1 : __real_flock(fd, operation);
}

int __wrap_fstat(int fd, struct stat* state) {
    if (fails("fstat")) {
        return -1;
    }
    const int result = __real_fstat(fd, state);
    if (result == 0 && overrides.owner && overrides.owner->file == state->st_ino) {
        state->st_uid = overrides.owner->user;
        state->st_gid = overrides.owner->group;
    }
    return result;
}

int __wrap_fchown(int fd, uid_t user, gid_t group) {
    record("give owner " + std::to_string(user) + ":" + std::to_string(group));
    if (fails("fchown")) {
        return -1;
    }
    return overrides.owner ? 0 : __real_fchown(fd, user, group);
}

int __wrap_fchmod(int fd, mode_t mode) {
    record("give mode");
    return fails("fchmod") ? -1 : __real_fchmod(fd, mode);
}

int __wrap_fsetxattr(int fd, const char* name, const void* value, size_t size, int flags) {
    record(std::string("give attribute ") + name);
    if (fails("fsetxattr")) {
        return -1;
    }
    for (const auto& attribute : overrides.attributes) {
        if (attribute.name == name) {
            return 0;
        }
    }
    return __real_fsetxattr(fd, name, value, size, flags);
}

int __wrap_fremovexattr(int fd, const char* name) {
    return fails("fremovexattr") ? -1 : __real_fremovexattr(fd, name);
}

ssize_t __wrap_flistxattr(int fd, char* list, size_t size) {
    if (fails("flistxattr")) {
        return -1;
    }
    if (has_grown(size)) {
        return fail(ERANGE);
    }
    struct stat state {};
    std::string names;
    if (__real_fstat(fd, &state) == 0) {
        for (const auto& attribute : overrides.attributes) {
            names += attribute.file == state.st_ino ? attribute.name + '\0' : "";
        }
    }
    return names.empty() ? __real_flistxattr(fd, list, size) : answer(names, list, size);
}

ssize_t __wrap_fgetxattr(int fd, const char* name, void* value, size_t size) {
    if (fails("fgetxattr")) {
        return -1;
    }
    if (has_grown(size)) {
        return fail(ERANGE);
    }
    struct stat state {};
    const bool is_known = __real_fstat(fd, &state) == 0;
    for (const auto& attribute : overrides.attributes) {
        if (is_known && attribute.file == state.st_ino && attribute.name == name) {
            return answer(attribute.value, value, size);
        }
    }
    return __real_fgetxattr(fd, name, value, size);
}

int __wrap_rename(const char* from, const char* to) {
    record("rename");
    return fails("rename") ? -1 : __real_rename(from, to);
}

int __wrap_renameat(int from_folder, const char* from, int to_folder, const char* to) {
    record("rename");
    return fails("rename") ? -1 : __real_renameat(from_folder, from, to_folder, to);
}

int __wrap_unlinkat(int folder, const char* name, int flags) {
    if (fails("unlinkat")) {
        return -1;
    }
    const int result = __real_unlinkat(folder, name, flags);
    if (const auto after_removal = std::exchange(overrides.after_removal, nullptr)) {
        const int error = errno;
        after_removal(folder, name);
        errno = error;
    }
    return result;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
