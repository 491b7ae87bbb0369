#include "tests/support/failing_system_calls.h"

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

namespace failing_system_calls {

Faults faults;

void reset() {
    faults = Faults();
}

namespace {

void record(const std::string& call) {
    call_journal::append(call_journal::Kind::call, {call});
    if (const auto before_call = std::exchange(faults.before_call, nullptr)) {
        before_call(call);
        faults.before_call = before_call;
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

// Returns the path of what a name relative to an open folder means.
std::string path_of(int folder, const char* name) {
    std::string path(PATH_MAX, '\0');
    const std::string link = "/proc/self/fd/" + std::to_string(folder);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return path + "/" + name;
}

// Counts one call down. Tells whether it is the one that fails.
bool fails_now(int error, int& calls_before) {
    return error != 0 && calls_before-- <= 0;
}

}  // namespace
}  // namespace failing_system_calls

using failing_system_calls::fail;
using failing_system_calls::faults;
using failing_system_calls::number;
using failing_system_calls::record;

// The linker makes these names when it is told to wrap a function: what calls NAME calls __wrap_NAME, and
// __real_NAME is NAME itself.
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
    return faults.process_not_forked != 0 ? fail(faults.process_not_forked) : __real_fork();
}

pid_t __wrap_waitpid(pid_t child, int* word, int options) {
    const pid_t result = __real_waitpid(child, word, options);
    return faults.child_not_awaited != 0 ? fail(faults.child_not_awaited) : result;
}

int __wrap_execvp(const char* file, char* const arguments[]) {
    if (getpid() == faults.lasting_process) {
        fputs("The process that runs the tests was about to become another program\n", stderr);
        abort();
    }
    return __real_execvp(file, arguments);
}

int __wrap_system(const char* command) {
    record(std::string("system ") + command);
    return faults.shell_not_started != 0 ? fail(faults.shell_not_started) : __real_system(command);
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
    if (strcmp(path, "/dev/null") == 0 &&
        failing_system_calls::fails_now(faults.null_device_not_opened, faults.null_device_opens_before_that)) {
        return fail(faults.null_device_not_opened);
    }
    return __real_open(path, flags, mode);
}

int __wrap_dup(int fd) {
    record("dup" + number(fd));
    return faults.descriptor_not_duplicated != 0 ? fail(faults.descriptor_not_duplicated) : __real_dup(fd);
}

int __wrap_dup2(int fd, int target) {
    record("dup2" + number(fd) + number(target));
    return faults.descriptor_not_replaced != 0 ? fail(faults.descriptor_not_replaced) : __real_dup2(fd, target);
}

// Every command that is used here takes one number at most.
int __wrap_fcntl(int fd, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    record("fcntl" + number(fd) + number(command) + number(static_cast<int>(argument)));
    if (command == F_SETFL && faults.flags_not_set != 0) {
        return fail(faults.flags_not_set);
    }
    return __real_fcntl(fd, command, argument);
}

ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    if (fd != faults.watched_descriptor) {
        return __real_write(fd, bytes, count);
    }
    record("write" + number(fd) + " " + std::to_string(count));
    if (faults.writes.empty()) {
        return __real_write(fd, bytes, count);
    }
    const failing_system_calls::WriteOutcome outcome = faults.writes.front();
    faults.writes.pop_front();
    if (outcome.accepted < 0) {
        return fail(outcome.error);
    }
    return outcome.only_claimed ? outcome.accepted
                                : __real_write(fd, bytes, std::min(count, static_cast<size_t>(outcome.accepted)));
}

ssize_t __wrap_recv(int fd, void* bytes, size_t count, int flags) {
    record("recv" + number(fd) + " " + std::to_string(count) + number(flags));
    if (faults.bytes_without_end) {
        memset(bytes, 'x', count);
        return static_cast<ssize_t>(count);
    }
    return faults.nothing_received != 0 ? fail(faults.nothing_received) : __real_recv(fd, bytes, count, flags);
}

int __wrap_nanosleep(const timespec* pause, timespec* rest) {
    record("nanosleep" + number(pause->tv_sec) + number(pause->tv_nsec));
    return faults.pauses_skipped ? 0 : __real_nanosleep(pause, rest);
}

// Files.

int __wrap_mkdir(const char* path, mode_t mode) {
    record(std::string("mkdir ") + path + number(static_cast<long>(mode)));
    if (faults.directory_not_created != 0 && faults.uncreatable_directory == path) {
        return fail(faults.directory_not_created);
    }
    return __real_mkdir(path, mode);
}

// None of the callers here creates a file so.
int __wrap_openat(int folder, const char* name, int flags, ...) {
    record("openat " + failing_system_calls::path_of(folder, name));
    return __real_openat(folder, name, flags);
}

int __wrap_fstatat(int folder, const char* name, struct stat* state, int flags) {
    record("fstatat " + failing_system_calls::path_of(folder, name));
    return __real_fstatat(folder, name, state, flags);
}

int __wrap_unlinkat(int folder, const char* name, int flags) {
    const std::string path = failing_system_calls::path_of(folder, name);
    if ((flags & AT_REMOVEDIR) != 0) {
        record("rmdir " + path);
        return faults.directory_not_removed != 0 ? fail(faults.directory_not_removed)
                                                 : __real_unlinkat(folder, name, flags);
    }
    record("unlink " + path);
    if (faults.file_not_removed != 0 && faults.unremovable_file == path) {
        return fail(faults.file_not_removed);
    }
    return __real_unlinkat(folder, name, flags);
}

uid_t __wrap_geteuid() {
    return faults.effective_user.value_or(__real_geteuid());
}

int __wrap_rename(const char* from, const char* to) {
    record(std::string("rename ") + from + " " + to);
    if (failing_system_calls::fails_now(faults.file_not_renamed, faults.renames_before_that)) {
        return fail(faults.file_not_renamed);
    }
    return __real_rename(from, to);
}

dirent* __wrap_readdir(DIR* directory) {
    if (failing_system_calls::fails_now(faults.entries_not_read, faults.entries_before_that)) {
        errno = faults.entries_not_read;
        return nullptr;
    }
    dirent* const entry = __real_readdir(directory);
    if (entry != nullptr && faults.vanishing_file.ends_with(std::string("/") + entry->d_name)) {
        unlink(faults.vanishing_file.c_str());
    }
    return entry;
}

int __wrap_statvfs(const char* path, struct statvfs* space) {
    record(std::string("statvfs ") + path);
    if (faults.file_system_not_examined != 0) {
        return fail(faults.file_system_not_examined);
    }
    if (faults.file_system) {
        *space = *faults.file_system;
        return 0;
    }
    return __real_statvfs(path, space);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
