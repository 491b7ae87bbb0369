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

namespace system_calls {

Faults faults;
std::vector<std::string> journal;
std::map<std::string, int> opening_flags;
int receptions = 0;

void reset() {
    faults = Faults();
    journal.clear();
    opening_flags.clear();
    receptions = 0;
}

namespace {

// What the function that is called before a call does itself is not recorded.
void record(const std::string& call) {
    static bool recording = false;
    if (recording) {
        return;
    }
    recording = true;
    if (faults.before_call) {
        faults.before_call(call);
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

bool happens(int& times_left) {
    return times_left > 0 && times_left-- > 0;
}

// Counts one call down. Tells whether it is one that fails.
bool fails_now(int error, int& calls_before) {
    return error != 0 && !happens(calls_before);
}

// Answers a query of attributes, which tells the size alone when it has no buffer.
ssize_t answer(const std::string& text, void* buffer, size_t size) {
    if (size != 0 && size < text.size()) {
        return fail(ERANGE);
    }
    if (size != 0) {
        memcpy(buffer, text.data(), text.size());
    }
    return static_cast<ssize_t>(text.size());
}

}  // namespace
}  // namespace system_calls

using system_calls::answer;
using system_calls::fail;
using system_calls::fails_now;
using system_calls::faults;
using system_calls::happens;
using system_calls::record;

using steady_clock = std::chrono::steady_clock;

// The linker makes these names when it is told to wrap a function: what calls NAME calls __wrap_NAME, and
// __real_NAME is NAME itself.
// NOLINTBEGIN(bugprone-reserved-identifier)
steady_clock::time_point real_steady_now() __asm__("__real__ZNSt6chrono3_V212steady_clock3nowEv");
steady_clock::time_point wrapped_steady_now() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

steady_clock::time_point wrapped_steady_now() {
    return faults.steady_time ? steady_clock::time_point(*faults.steady_time) : real_steady_now();
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
    if (happens(faults.reads_interrupted)) {
        return fail(EINTR);
    }
    return faults.file_not_read != 0 ? fail(faults.file_not_read) : __real_read(fd, bytes, count);
}

ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    record("write");
    if (happens(faults.writes_interrupted)) {
        return fail(EINTR);
    }
    size_t length = faults.longest_write != 0 ? std::min(count, faults.longest_write) : count;
    if (faults.file_not_written != 0) {
        length = std::min(length, faults.bytes_before_that);
        if (length == 0) {
            return fail(faults.file_not_written);
        }
        faults.bytes_before_that -= length;
    }
    return __real_write(fd, bytes, length);
}

ssize_t __wrap_recv(int fd, void* bytes, size_t count, int flags) {
    ++system_calls::receptions;
    if (happens(faults.receptions_interrupted)) {
        return fail(EINTR);
    }
    if (faults.reception_refused != 0) {
        return fail(std::exchange(faults.reception_refused, 0));
    }
    return __real_recv(fd, bytes, count, flags);
}

int __wrap_poll(pollfd* watched, nfds_t count, int timeout) {
    if (happens(faults.waits_interrupted)) {
        return fail(EINTR);
    }
    if (faults.socket_not_awaited != 0) {
        return fail(faults.socket_not_awaited);
    }
    if (faults.instead_of_waiting) {
        faults.instead_of_waiting();
        watched->revents = watched->events;
        return 1;
    }
    return __real_poll(watched, count, timeout);
}

int __wrap_getsockopt(int fd, int level, int name, void* value, socklen_t* size) {
    if (name == SO_PROTOCOL && faults.pretended_protocol) {
        memcpy(value, &*faults.pretended_protocol, sizeof(int));
        return 0;
    }
    return name == SO_PEERCRED && faults.credentials_not_told != 0 ? fail(faults.credentials_not_told)
                                                                   : __real_getsockopt(fd, level, name, value, size);
}

// Processes.

pid_t __wrap_fork() {
    return faults.process_not_forked != 0 ? fail(faults.process_not_forked) : __real_fork();
}

int __wrap_pipe2(int* ends, int flags) {
    return faults.pipe_not_made != 0 ? fail(faults.pipe_not_made) : __real_pipe2(ends, flags);
}

// This host.

int __wrap_getifaddrs(ifaddrs** list) {
    if (faults.interfaces_not_listed != 0) {
        return fail(faults.interfaces_not_listed);
    }
    const int result = __real_getifaddrs(list);
    if (result == 0 && faults.interface_without_address) {
        (*list)->ifa_addr = nullptr;
    }
    return result;
}

int __wrap_gethostname(char* name, size_t size) {
    return faults.host_name_not_told != 0 ? fail(faults.host_name_not_told) : __real_gethostname(name, size);
}

// Files.

int __wrap_fsync(int fd) {
    struct stat state {};
    const bool is_folder = __real_fstat(fd, &state) == 0 && S_ISDIR(state.st_mode);
    record(is_folder ? "flush folder" : "flush file");
    const int error = is_folder ? faults.folder_not_flushed : faults.file_not_flushed;
    return error != 0 ? fail(error) : __real_fsync(fd);
}

int __wrap_flock(int fd, int operation) {
    record("lock");
    if (happens(faults.locks_interrupted)) {
        return fail(EINTR);
    }
    return faults.name_not_locked != 0 ? fail(faults.name_not_locked) : __real_flock(fd, operation);
}

int __wrap_fstat(int fd, struct stat* state) {
    if (fails_now(faults.file_not_examined, faults.examinations_before_that)) {
        return fail(faults.file_not_examined);
    }
    const int result = __real_fstat(fd, state);
    if (result == 0 && faults.pretended_owner && faults.pretended_owner->file == state->st_ino) {
        state->st_uid = faults.pretended_owner->user;
        state->st_gid = faults.pretended_owner->group;
    }
    return result;
}

int __wrap_fchown(int fd, uid_t user, gid_t group) {
    record("give owner " + std::to_string(user) + ":" + std::to_string(group));
    if (faults.owner_not_given != 0) {
        return fail(faults.owner_not_given);
    }
    return faults.pretended_owner ? 0 : __real_fchown(fd, user, group);
}

int __wrap_fchmod(int fd, mode_t mode) {
    record("give mode");
    return faults.mode_not_given != 0 ? fail(faults.mode_not_given) : __real_fchmod(fd, mode);
}

int __wrap_fsetxattr(int fd, const char* name, const void* value, size_t size, int flags) {
    record(std::string("give attribute ") + name);
    if (faults.attribute_not_given != 0) {
        return fail(faults.attribute_not_given);
    }
    for (const auto& attribute : faults.pretended_attributes) {
        if (attribute.name == name) {
            return 0;
        }
    }
    return __real_fsetxattr(fd, name, value, size, flags);
}

int __wrap_fremovexattr(int fd, const char* name) {
    return faults.attribute_not_removed != 0 ? fail(faults.attribute_not_removed) : __real_fremovexattr(fd, name);
}

ssize_t __wrap_flistxattr(int fd, char* list, size_t size) {
    if (fails_now(faults.attributes_not_listed, faults.list_queries_before_that)) {
        return fail(faults.attributes_not_listed);
    }
    if (size != 0 && happens(faults.attributes_grown)) {
        return fail(ERANGE);
    }
    struct stat state {};
    std::string names;
    if (__real_fstat(fd, &state) == 0) {
        for (const auto& attribute : faults.pretended_attributes) {
            names += attribute.file == state.st_ino ? attribute.name + '\0' : "";
        }
    }
    return names.empty() ? __real_flistxattr(fd, list, size) : answer(names, list, size);
}

ssize_t __wrap_fgetxattr(int fd, const char* name, void* value, size_t size) {
    if (fails_now(faults.attribute_not_read, faults.queries_before_that)) {
        return fail(faults.attribute_not_read);
    }
    if (size != 0 && happens(faults.attributes_grown)) {
        return fail(ERANGE);
    }
    struct stat state {};
    const bool is_known = __real_fstat(fd, &state) == 0;
    for (const auto& attribute : faults.pretended_attributes) {
        if (is_known && attribute.file == state.st_ino && attribute.name == name) {
            return answer(attribute.value, value, size);
        }
    }
    return __real_fgetxattr(fd, name, value, size);
}

int __wrap_rename(const char* from, const char* to) {
    record("rename");
    return faults.file_not_renamed != 0 ? fail(faults.file_not_renamed) : __real_rename(from, to);
}

int __wrap_renameat(int from_folder, const char* from, int to_folder, const char* to) {
    record("rename");
    return faults.file_not_renamed != 0 ? fail(faults.file_not_renamed)
                                        : __real_renameat(from_folder, from, to_folder, to);
}

int __wrap_unlinkat(int folder, const char* name, int flags) {
    if (faults.file_not_removed != 0) {
        return fail(faults.file_not_removed);
    }
    const int result = __real_unlinkat(folder, name, flags);
    if (const auto after_removal = std::exchange(faults.after_removal, nullptr)) {
        const int error = errno;
        after_removal(folder, name);
        errno = error;
    }
    return result;
}

// Time and chance.

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
    if (clock == CLOCK_REALTIME && faults.time_of_day) {
        *now = *faults.time_of_day;
        return 0;
    }
    return __real_clock_gettime(clock, now);
}

ssize_t __wrap_getrandom(void* bytes, size_t count, unsigned flags) {
    if (faults.nothing_random != 0) {
        return fail(faults.nothing_random);
    }
    if (faults.random_bytes.empty()) {
        return __real_getrandom(bytes, count, flags);
    }
    const size_t length = std::min(count, faults.random_bytes.size());
    std::copy_n(faults.random_bytes.begin(), length, static_cast<unsigned char*>(bytes));
    faults.random_bytes.erase(faults.random_bytes.begin(),
                              faults.random_bytes.begin() + static_cast<std::ptrdiff_t>(length));
    return static_cast<ssize_t>(length);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
