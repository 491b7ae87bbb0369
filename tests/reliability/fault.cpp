#include "tests/reliability/fault.h"

#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <ostream>

namespace {

struct CallName {
    long number;
    const char* name;
};

constexpr std::array call_names = {
    CallName{SYS_read, "read"},
    CallName{SYS_write, "write"},
    CallName{SYS_open, "open"},
    CallName{SYS_openat, "openat"},
    CallName{SYS_close, "close"},
    CallName{SYS_fsync, "fsync"},
    CallName{SYS_fdatasync, "fdatasync"},
    CallName{SYS_rename, "rename"},
    CallName{SYS_unlink, "unlink"},
    CallName{SYS_unlinkat, "unlinkat"},
    CallName{SYS_mkdir, "mkdir"},
    CallName{SYS_rmdir, "rmdir"},
    CallName{SYS_mmap, "mmap"},
    CallName{SYS_munmap, "munmap"},
    CallName{SYS_brk, "brk"},
    CallName{SYS_fchmod, "fchmod"},
    CallName{SYS_fchown, "fchown"},
    CallName{SYS_flock, "flock"},
    CallName{SYS_recvfrom, "recvfrom"},
    CallName{SYS_recvmsg, "recvmsg"},
    CallName{SYS_sendto, "sendto"},
    CallName{SYS_fstat, "fstat"},
    CallName{SYS_newfstatat, "newfstatat"},
    CallName{SYS_statfs, "statfs"},
    CallName{SYS_getdents64, "getdents64"},
    CallName{SYS_dup, "dup"},
    CallName{SYS_dup2, "dup2"},
    CallName{SYS_fcntl, "fcntl"},
    CallName{SYS_clone, "clone"},
    CallName{SYS_vfork, "vfork"},
    CallName{SYS_execve, "execve"},
    CallName{SYS_wait4, "wait4"},
    CallName{SYS_nanosleep, "nanosleep"},
    CallName{SYS_clock_nanosleep, "clock_nanosleep"},
    CallName{SYS_poll, "poll"},
    CallName{SYS_ppoll, "ppoll"},
    CallName{SYS_socket, "socket"},
    CallName{SYS_connect, "connect"},
    CallName{SYS_getsockopt, "getsockopt"},
    CallName{SYS_getpeername, "getpeername"},
    CallName{SYS_rt_sigaction, "rt_sigaction"},
    CallName{SYS_rt_sigprocmask, "rt_sigprocmask"},
    CallName{SYS_close_range, "close_range"},
    CallName{SYS_getrandom, "getrandom"},
    CallName{SYS_uname, "uname"},
    CallName{SYS_umask, "umask"},
    CallName{SYS_mprotect, "mprotect"},
};

bool is_one_of(long call, std::initializer_list<long> calls) {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

bool transfers(long call) {
    return is_one_of(call, {SYS_read, SYS_write, SYS_pread64, SYS_pwrite64, SYS_recvfrom, SYS_recvmsg, SYS_sendto});
}

bool makes_descriptor(long call) {
    return is_one_of(call, {SYS_open, SYS_openat, SYS_dup, SYS_dup2, SYS_dup3, SYS_socket, SYS_pipe, SYS_pipe2});
}

// Whether the manual page of the call lists the error. EIO counts for every call: a faulty disk, a network file system
// or a filter of system calls can fail any of them.
bool can_fail(long call, int error) {
    switch (error) {
        case ENOSPC:
            return is_one_of(call, {SYS_open, SYS_openat, SYS_write, SYS_mkdir, SYS_rename, SYS_fsync, SYS_fsetxattr});
        case EMFILE:
            return makes_descriptor(call) || call == SYS_fcntl;
        case ENOMEM:
            return makes_descriptor(call) ||
                   is_one_of(call, {SYS_brk, SYS_mmap, SYS_munmap, SYS_clone, SYS_vfork, SYS_fork, SYS_execve,
                                    SYS_mkdir, SYS_rename, SYS_unlink, SYS_stat, SYS_newfstatat, SYS_recvfrom,
                                    SYS_recvmsg, SYS_sendto, SYS_poll});
        case EINTR:
            return transfers(call) || is_one_of(call, {SYS_open, SYS_openat, SYS_close, SYS_fsync, SYS_flock, SYS_wait4,
                                                       SYS_nanosleep, SYS_clock_nanosleep, SYS_poll, SYS_connect});
        default:
            return true;
    }
}

// Only streams have short transfers: a message moves whole or not at all.
bool moves_stream(pid_t process, long call, const std::uint64_t* arguments) {
    if (call == SYS_recvmsg) {
        return word_at(process, arguments[1] + offsetof(msghdr, msg_name)) == 0;
    }
    const bool names_address = (call == SYS_sendto || call == SYS_recvfrom) && arguments[4] != 0;
    return transfers(call) && arguments[2] > 1 && !names_address;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const FaultPlan& plan) {
    return out << plan.name;
}

Fault fail_once(int error) {
    return {.kind = Fault::Kind::error, .error = error};
}

Fault fail_ever_after(int error) {
    return {.kind = Fault::Kind::error, .error = error, .ever_after = true};
}

bool can_happen(const Fault& fault, pid_t process, long call, const std::uint64_t* arguments) {
    // The end of a process cannot fail.
    if (is_one_of(call, {SYS_exit, SYS_exit_group, SYS_rt_sigreturn})) {
        return false;
    }
    switch (fault.kind) {
        case Fault::Kind::none:
            return false;
        case Fault::Kind::error:
            return can_fail(call, fault.error);
        case Fault::Kind::short_transfer:
            return moves_stream(process, call, arguments);
        case Fault::Kind::kill:
            return true;
    }
    return false;
}

unsigned long word_at(pid_t process, std::uint64_t address) {
    return static_cast<unsigned long>(ptrace(PTRACE_PEEKDATA, process, address, nullptr));
}

std::string name_of_call(long number) {
    const auto* const found =
        std::find_if(call_names.begin(), call_names.end(), [&](const CallName& call) { return call.number == number; });
    return found == call_names.end() ? std::to_string(number) : found->name;
}
