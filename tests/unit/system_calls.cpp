#include "tests/unit/system_calls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>

#include "tests/support/call_journal.h"
#include "tests/support/failing_calls.h"

namespace system_calls {

Overrides overrides;

void reset() {
    overrides = Overrides();
    failing_calls::reset();
}

namespace {

void record(const std::string& call) {
    call_journal::append(call_journal::Kind::call, {call});
    if (const auto before_call = std::exchange(overrides.before_call, nullptr)) {
        before_call(call);
        overrides.before_call = before_call;
    }
}

std::string number(long long value) {
    std::string text(1, ' ');
    return text += std::to_string(value);
}

// Returns -1 with the error number.
int fail(int error) {
    errno = error;
    return -1;
}

// Returns the path of a name that is relative to an open folder.
std::string path_of(int folder, const char* name) {
    std::string path(PATH_MAX, '\0');
    const std::string link = "/proc/self/fd/" + std::to_string(folder);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return path + "/" + name;
}

}  // namespace
}  // namespace system_calls

using failing_calls::fails;
using system_calls::fail;
using system_calls::number;
using system_calls::overrides;
using system_calls::record;

// The linker makes these names for a wrapped function: what calls NAME calls __wrap_NAME, and __real_NAME is NAME
// itself.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

pid_t __real_fork();
pid_t __real_waitpid(pid_t child, int* word, int options);
int __real_execvp(const char* file, char* const arguments[]);
int __real_system(const char* command);
int __real_open(const char* path, int flags, ...);
int __real_dup(int fd);
int __real_dup2(int fd, int target);
int __real_fcntl(int fd, int command, ...);
ssize_t __real_write(int fd, const void* bytes, size_t count);
ssize_t __real_recv(int fd, void* bytes, size_t count, int flags);
int __real_nanosleep(const timespec* pause, timespec* rest);
int __real_mkdir(const char* path, mode_t mode);
int __real_openat(int folder, const char* name, int flags, ...);
int __real_fstatat(int folder, const char* name, struct stat* state, int flags);
int __real_unlinkat(int folder, const char* name, int flags);
uid_t __real_geteuid();
int __real_rename(const char* from, const char* to);
dirent* __real_readdir(DIR* directory);
int __real_statvfs(const char* path, struct statvfs* space);
mode_t __real_umask(mode_t mask);
sighandler_t __real_signal(int signal_number, sighandler_t handler);

// Processes.

pid_t __wrap_fork() {
    return fails("fork") ? -1 : __real_fork();
}

pid_t __wrap_waitpid(pid_t child, int* word, int options) {
    const pid_t result = __real_waitpid(child, word, options);
    *word |= overrides.wait_status_flags;
    return fails("waitpid") ? -1 : result;
}

int __wrap_execvp(const char* file, char* const arguments[]) {
    if (getpid() == overrides.lasting_process) {
        fputs("The process that runs the tests was about to become another program\n", stderr);
        abort();
    }
    return __real_execvp(file, arguments);
}

int __wrap_system(const char* command) {
    record(std::string("system ") + command);
    return fails("system") ? -1 : __real_system(command);
}

mode_t __wrap_umask(mode_t mask) {
    record("umask" + number(static_cast<long>(mask)));
    return __real_umask(mask);
}

sighandler_t __wrap_signal(int signal_number, sighandler_t handler) {
    const char* const disposition = handler == SIG_IGN ? " ignored" : handler == SIG_DFL ? " default" : " handled";
    record("signal" + number(signal_number) + disposition);
    return __real_signal(signal_number, handler);
}

// Descriptors.

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    record(std::string("open ") + path);
    return fails("open", path) ? -1 : __real_open(path, flags, mode);
}

int __wrap_dup(int fd) {
    record("dup" + number(fd));
    return fails("dup") ? -1 : __real_dup(fd);
}

int __wrap_dup2(int fd, int target) {
    record("dup2" + number(fd) + number(target));
    return fails("dup2") ? -1 : __real_dup2(fd, target);
}

// Every command that is used here takes one number at most.
int __wrap_fcntl(int fd, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    record("fcntl" + number(fd) + number(command) + number(static_cast<int>(argument)));
    return command == F_SETFL && fails("fcntl", "F_SETFL") ? -1 : __real_fcntl(fd, command, argument);
}

ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    if (fd != overrides.watched_descriptor) {
        return __real_write(fd, bytes, count);
    }
    record("write" + number(fd) + " " + std::to_string(count));
    if (overrides.writes.empty()) {
        return __real_write(fd, bytes, count);
    }
    const system_calls::WriteOutcome outcome = overrides.writes.front();
    overrides.writes.pop_front();
    if (outcome.accepted < 0) {
        return fail(outcome.error);
    }
    return outcome.only_claimed ? outcome.accepted
                                : __real_write(fd, bytes, std::min(count, static_cast<size_t>(outcome.accepted)));
}

ssize_t __wrap_recv(int fd, void* bytes, size_t count, int flags) {
    record("recv" + number(fd) + " " + std::to_string(count) + number(flags));
    if (overrides.bytes_without_end) {
        memset(bytes, 'x', count);
        return static_cast<ssize_t>(count);
    }
    return fails("recv") ? -1 : __real_recv(fd, bytes, count, flags);
}

int __wrap_nanosleep(const timespec* pause, timespec* rest) {
    record("nanosleep" + number(pause->tv_sec) + number(pause->tv_nsec));
    return overrides.pauses_skipped ? 0 : __real_nanosleep(pause, rest);
}

// Files.

int __wrap_mkdir(const char* path, mode_t mode) {
    record(std::string("mkdir ") + path + number(static_cast<long>(mode)));
    return fails("mkdir", path) ? -1 : __real_mkdir(path, mode);
}

// No caller here creates a file with it.
int __wrap_openat(int folder, const char* name, int flags, ...) {
    record("openat " + system_calls::path_of(folder, name));
    return __real_openat(folder, name, flags);
}

int __wrap_fstatat(int folder, const char* name, struct stat* state, int flags) {
    record("fstatat " + system_calls::path_of(folder, name));
    return __real_fstatat(folder, name, state, flags);
}

int __wrap_unlinkat(int folder, const char* name, int flags) {
    const std::string path = system_calls::path_of(folder, name);
    if ((flags & AT_REMOVEDIR) != 0) {
        record("rmdir " + path);
        return fails("rmdir") ? -1 : __real_unlinkat(folder, name, flags);
    }
    record("unlink " + path);
    return fails("unlink", path) ? -1 : __real_unlinkat(folder, name, flags);
}

uid_t __wrap_geteuid() {
    return overrides.effective_user.value_or(__real_geteuid());
}

int __wrap_rename(const char* from, const char* to) {
    record(std::string("rename ") + from + " " + to);
    return fails("rename") ? -1 : __real_rename(from, to);
}

dirent* __wrap_readdir(DIR* directory) {
    if (fails("readdir")) {
        return nullptr;
    }
    dirent* const entry = __real_readdir(directory);
    if (entry != nullptr && overrides.vanishing_file.ends_with(std::string("/") + entry->d_name)) {
        unlink(overrides.vanishing_file.c_str());
    }
    return entry;
}

int __wrap_statvfs(const char* path, struct statvfs* space) {
    record(std::string("statvfs ") + path);
    if (fails("statvfs")) {
        return -1;
    }
    if (overrides.file_system) {
        *space = *overrides.file_system;
        return 0;
    }
    return __real_statvfs(path, space);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
