#include "tests/platform/system_calls.h"

#include <fcntl.h>
#include <ifaddrs.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "tests/platform/recorded_call.h"
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

}  // namespace system_calls

using failing_calls::fails;
using system_calls::fail;
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
