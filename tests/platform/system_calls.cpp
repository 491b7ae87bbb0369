#include "tests/platform/system_calls.h"

#include <fcntl.h>
#include <ifaddrs.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "tests/support/failing_calls.h"

namespace system_calls {

Overrides overrides;
std::vector<std::string> journal;
std::map<std::string, int> opening_flags;
int receptions = 0;

void reset() {
    overrides = Overrides();
    failing_calls::reset();
    journal.clear();
    opening_flags.clear();
    receptions = 0;
}

namespace {

// Calls that before_call makes itself are not recorded.
void record(const std::string& call) {
    static bool recording = false;
    if (recording) {
        return;
    }
    recording = true;
    if (overrides.before_call) {
        overrides.before_call(call);
    }
    recording = false;
    const bool goes_on = (call == "read" || call == "write") && !journal.empty() && journal.back() == call;
    if (!goes_on) {
        journal.push_back(call);
    }
}

// Returns -1 with the error number.
int fail(int error) {
    errno = error;
    return -1;
}

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
}  // namespace system_calls

using failing_calls::fails;
using system_calls::answer;
using system_calls::fail;
using system_calls::has_grown;
using system_calls::overrides;
using system_calls::record;

using steady_clock = std::chrono::steady_clock;

// The linker makes these names for a wrapped function: what calls NAME calls __wrap_NAME, and __real_NAME is NAME
// itself.
// NOLINTBEGIN(bugprone-reserved-identifier)
steady_clock::time_point real_steady_now() __asm__("__real__ZNSt6chrono3_V212steady_clock3nowEv");
steady_clock::time_point wrapped_steady_now() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

steady_clock::time_point wrapped_steady_now() {
    return overrides.steady_time ? steady_clock::time_point(*overrides.steady_time) : real_steady_now();
}

extern "C" {

int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int fd, void* bytes, size_t count);
ssize_t __real_write(int fd, const void* bytes, size_t count);
ssize_t __real_recv(int fd, void* bytes, size_t count, int flags);
int __real_getsockopt(int fd, int level, int name, void* value, socklen_t* size);
int __real_poll(pollfd* watched, nfds_t count, int timeout);
pid_t __real_fork();
int __real_pipe2(int* ends, int flags);
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
int __real_clock_gettime(clockid_t clock, timespec* now);
int __real_getifaddrs(ifaddrs** list);
int __real_gethostname(char* name, size_t size);
ssize_t __real_getrandom(void* bytes, size_t count, unsigned flags);

// Opening, reading and writing.

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    system_calls::opening_flags[path] = flags;
    return __real_open(path, flags, mode);
}

ssize_t __wrap_read(int fd, void* bytes, size_t count) {
    record("read");
    return fails("read") ? -1 : __real_read(fd, bytes, count);
}

ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    record("write");
    if (fails("write")) {
        return -1;
    }
    size_t length = overrides.longest_write != 0 ? std::min(count, overrides.longest_write) : count;
    if (overrides.full_disk) {
        length = std::min(length, overrides.full_disk->space);
        if (length == 0) {
            return fail(overrides.full_disk->error);
        }
        overrides.full_disk->space -= length;
    }
    return __real_write(fd, bytes, length);
}

ssize_t __wrap_recv(int fd, void* bytes, size_t count, int flags) {
    ++system_calls::receptions;
    return fails("recv") ? -1 : __real_recv(fd, bytes, count, flags);
}

int __wrap_poll(pollfd* watched, nfds_t count, int timeout) {
    if (fails("poll")) {
        return -1;
    }
    if (overrides.instead_of_waiting) {
        overrides.instead_of_waiting();
        watched->revents = watched->events;
        return 1;
    }
    return __real_poll(watched, count, timeout);
}

int __wrap_getsockopt(int fd, int level, int name, void* value, socklen_t* size) {
    if (name == SO_PROTOCOL && overrides.protocol) {
        memcpy(value, &*overrides.protocol, sizeof(int));
        return 0;
    }
    return name == SO_PEERCRED && fails("getsockopt") ? -1 : __real_getsockopt(fd, level, name, value, size);
}

// Processes.

pid_t __wrap_fork() {
    return fails("fork") ? -1 : __real_fork();
}

int __wrap_pipe2(int* ends, int flags) {
    return fails("pipe2") ? -1 : __real_pipe2(ends, flags);
}

// This host.

int __wrap_getifaddrs(ifaddrs** list) {
    if (fails("getifaddrs")) {
        return -1;
    }
    const int result = __real_getifaddrs(list);
    if (result == 0 && overrides.interface_without_address) {
        (*list)->ifa_addr = nullptr;
    }
    return result;
}

int __wrap_gethostname(char* name, size_t size) {
    return fails("gethostname") ? -1 : __real_gethostname(name, size);
}

// Files.

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

// Time and random bytes.

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
    if (clock == CLOCK_REALTIME && overrides.time_of_day) {
        *now = *overrides.time_of_day;
        return 0;
    }
    return __real_clock_gettime(clock, now);
}

ssize_t __wrap_getrandom(void* bytes, size_t count, unsigned flags) {
    if (fails("getrandom")) {
        return -1;
    }
    if (overrides.random_bytes.empty()) {
        return __real_getrandom(bytes, count, flags);
    }
    const size_t length = std::min(count, overrides.random_bytes.size());
    std::copy_n(overrides.random_bytes.begin(), length, static_cast<unsigned char*>(bytes));
    overrides.random_bytes.erase(overrides.random_bytes.begin(),
                                 overrides.random_bytes.begin() + static_cast<std::ptrdiff_t>(length));
    return static_cast<ssize_t>(length);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
