#include "tests/request_command/system_calls.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

#include "tests/support/failing_calls.h"

namespace system_calls {

bool connects_wait = false;
bool connects_hang = false;
std::vector<int> waits;
std::optional<std::chrono::nanoseconds> stopped_clock;

std::string reset() {
    connects_wait = false;
    connects_hang = false;
    waits.clear();
    stopped_clock.reset();
    return failing_calls::reset();
}

}  // namespace system_calls

using failing_calls::fails;

using steady_clock = std::chrono::steady_clock;

// The linker wraps these functions: a call of NAME becomes a call of __wrap_NAME, and __real_NAME is NAME itself.
// NOLINTBEGIN(bugprone-reserved-identifier)
steady_clock::time_point real_steady_now() __asm__("__real__ZNSt6chrono3_V212steady_clock3nowEv");
steady_clock::time_point wrapped_steady_now() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

steady_clock::time_point wrapped_steady_now() {
    return system_calls::stopped_clock ? steady_clock::time_point(*system_calls::stopped_clock) : real_steady_now();
}

extern "C" {

int __real_socket(int family, int type, int protocol);
int __real_socketpair(int family, int type, int protocol, int* ends);
int __real_setsockopt(int fd, int level, int name, const void* value, socklen_t size);
int __real_getsockopt(int fd, int level, int name, void* value, socklen_t* size);
int __real_getsockname(int fd, sockaddr* name, socklen_t* size);
int __real_getpeername(int fd, sockaddr* name, socklen_t* size);
int __real_connect(int fd, const sockaddr* name, socklen_t size);
int __real_pipe2(int* ends, int flags);
int __real_poll(pollfd* watched, nfds_t count, int timeout);
ssize_t __real_send(int fd, const void* bytes, size_t count, int flags);
ssize_t __real_recv(int fd, void* bytes, size_t count, int flags);
ssize_t __real_write(int fd, const void* bytes, size_t count);
int __real_open(const char* path, int flags, ...);
int __real_fcntl(int fd, int command, ...);
pid_t __real_waitpid(pid_t child, int* word, int options);
int __real_posix_spawn_file_actions_adddup2(posix_spawn_file_actions_t* actions, int fd, int target);

int __wrap_socket(int family, int type, int protocol) {
    return fails("socket") ? -1 : __real_socket(family, type, protocol);
}

int __wrap_socketpair(int family, int type, int protocol, int* ends) {
    return fails("socketpair") ? -1 : __real_socketpair(family, type, protocol, ends);
}

int __wrap_setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
    return fails("setsockopt") ? -1 : __real_setsockopt(fd, level, name, value, size);
}

int __wrap_getsockopt(int fd, int level, int name, void* value, socklen_t* size) {
    return name == SO_ERROR && fails("getsockopt") ? -1 : __real_getsockopt(fd, level, name, value, size);
}

int __wrap_getsockname(int fd, sockaddr* name, socklen_t* size) {
    return fails("getsockname") ? -1 : __real_getsockname(fd, name, size);
}

int __wrap_getpeername(int fd, sockaddr* name, socklen_t* size) {
    return fails("getpeername") ? -1 : __real_getpeername(fd, name, size);
}

// An interrupted connect over TCP continues in the background. One to a Unix-domain socket has not begun.
int __wrap_connect(int fd, const sockaddr* name, socklen_t size) {
    if (system_calls::connects_hang) {
        errno = EINPROGRESS;
        return -1;
    }
    if (fails("connect")) {
        if (errno == EINTR && name->sa_family != AF_UNIX) {
            __real_connect(fd, name, size);
            errno = EINTR;
        }
        return -1;
    }
    const int result = __real_connect(fd, name, size);
    if (result == -1 && errno == EINPROGRESS && system_calls::connects_wait) {
        pollfd entry = {.fd = fd, .events = POLLOUT, .revents = 0};
        return __real_poll(&entry, 1, -1) == 1 ? 0 : -1;
    }
    return result;
}

int __wrap_pipe2(int* ends, int flags) {
    return fails("pipe2") ? -1 : __real_pipe2(ends, flags);
}

int __wrap_poll(pollfd* watched, nfds_t count, int timeout) {
    if (system_calls::connects_hang && watched->events == POLLOUT) {
        system_calls::waits.push_back(timeout);
        return 0;
    }
    return fails("poll") ? -1 : __real_poll(watched, count, timeout);
}

ssize_t __wrap_send(int fd, const void* bytes, size_t count, int flags) {
    return fails("send") ? -1 : __real_send(fd, bytes, count, flags);
}

ssize_t __wrap_recv(int fd, void* bytes, size_t count, int flags) {
    return fails("recv") ? -1 : __real_recv(fd, bytes, count, flags);
}

ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    return fails("write") ? -1 : __real_write(fd, bytes, count);
}

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return fails("open") ? -1 : __real_open(path, flags, mode);
}

// Every fcntl command in use takes at most one number.
int __wrap_fcntl(int fd, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    return fails("fcntl") ? -1 : __real_fcntl(fd, command, argument);
}

pid_t __wrap_waitpid(pid_t child, int* word, int options) {
    return fails("waitpid") ? -1 : __real_waitpid(child, word, options);
}

int __wrap_posix_spawn_file_actions_adddup2(posix_spawn_file_actions_t* actions, int fd, int target) {
    return fails("posix_spawn_file_actions_adddup2") ? errno
                                                     : __real_posix_spawn_file_actions_adddup2(actions, fd, target);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
