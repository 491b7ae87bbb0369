#include "tests/reliability/faulty_run.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <system_error>

#include "tests/support/private_root.h"

#ifndef __x86_64__
#error "The registers of a system call are known here for x86-64 alone."
#endif

namespace {

void check(long result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

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

// Whether the kernel's own manual lets the call fail so. Any call may fail with EIO: what a faulty disk, a network file
// system or a filter of system calls can do to one, they can do to all.
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

unsigned long word_at(pid_t process, std::uint64_t address) {
    return static_cast<unsigned long>(ptrace(PTRACE_PEEKDATA, process, address, nullptr));
}

// Messages, unlike streams, are moved whole or not at all.
bool moves_stream(pid_t process, long call, const std::uint64_t* arguments) {
    if (call == SYS_recvmsg) {
        return word_at(process, arguments[1] + offsetof(msghdr, msg_name)) == 0;
    }
    const bool names_address = (call == SYS_sendto || call == SYS_recvfrom) && arguments[4] != 0;
    return transfers(call) && arguments[2] > 1 && !names_address;
}

// The end of a process cannot fail.
bool has_fault(const Fault& fault, pid_t process, long call, const std::uint64_t* arguments) {
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

struct Program {
    std::vector<std::string> command_line;
    std::string variable;  // of its environment, "NAME=value"
};

[[noreturn]] void become(const Program& program, int socket) {
    constexpr unsigned patience_seconds = 20;
    const int null = open("/dev/null", O_RDWR);
    if (dup2(socket, STDIN_FILENO) != -1 && dup2(null, STDOUT_FILENO) != -1 && dup2(null, STDERR_FILENO) != -1 &&
        close_range(STDERR_FILENO + 1, ~0U, 0) == 0) {
        alarm(patience_seconds);
        std::string path = "PATH=/usr/bin:/bin";
        std::string variable = program.variable;
        std::vector<std::string> command_line = program.command_line;
        std::vector<char*> arguments;
        for (std::string& argument : command_line) {
            arguments.push_back(argument.data());
        }
        arguments.push_back(nullptr);
        const std::array<char*, 3> environment = {path.data(), variable.data(), nullptr};
        execve(arguments[0], arguments.data(), environment.data());
    }
    _exit(1);
}

// The agent's processes at their stops.
class Tracer {
  public:
    Tracer(const Program& program, int socket, const Fault& fault, FaultyRun& run)
        : fault_(fault),
          run_(run),
          request_(fault.kind == Fault::Kind::none ? PTRACE_CONT : PTRACE_SYSCALL),
          agent_(fork()) {
        check(agent_, "fork");
        if (agent_ == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            become(program, socket);
        }
        int status = 0;
        check(waitpid(agent_, &status, 0), "wait");
        constexpr int options = PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_TRACEFORK |
                                PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE;
        check(ptrace(PTRACE_SETOPTIONS, agent_, nullptr, options), "trace");
        check(ptrace(PTRACE_CONT, agent_, nullptr, nullptr), "start");
    }

    // Until no process is left.
    void follow() {
        for (;;) {
            int status = 0;
            const pid_t process = waitpid(-1, &status, __WALL);
            if (process == -1) {
                return;
            }
            if (WIFSTOPPED(status)) {
                handle_stop(process, status);
            } else if (process == agent_) {
                run_.wait_status = status;
            }
        }
    }

  private:
    // What a register is to hold when the call that its process is in returns.
    struct Repair {
        static constexpr std::size_t nothing = SIZE_MAX;
        std::size_t offset = nothing;
        unsigned long value = 0;
    };

    void handle_stop(pid_t process, int status) {
        constexpr int system_call_stop = SIGTRAP | 0x80;
        const int signal = WSTOPSIG(status);
        const int event = status >> 16;
        if (signal == system_call_stop) {
            handle_call(process);
        } else if (event == PTRACE_EVENT_EXEC) {
            handle_exec(process);
        } else if (event != 0 || is_first_stop(process, signal)) {
            go_on(process, 0);
        } else {
            go_on(process, signal);
        }
    }

    // From here on it is the agent; any other process is a tool, which is left alone.
    void handle_exec(pid_t process) {
        if (process == agent_) {
            go_on(process, 0);
        } else {
            ptrace(PTRACE_DETACH, process, nullptr, nullptr);
        }
    }

    // A new child begins with a stop that nobody asked for.
    bool is_first_stop(pid_t process, int signal) { return signal == SIGSTOP && repairs_.try_emplace(process).second; }

    void handle_call(pid_t process) {
        __ptrace_syscall_info info{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info) <= 0) {
            return;  // killed meanwhile; its end is still to be told
        }
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            enter_call(process, static_cast<long>(info.entry.nr), &info.entry.args[0]);
        } else {
            leave_call(process);
        }
    }

    void enter_call(pid_t process, long call, const std::uint64_t* arguments) {
        run_.began = run_.began || call == SYS_umask;
        if (!has_fault(fault_, process, call, arguments) || !is_due()) {
            go_on(process, 0);
            return;
        }
        if (run_.faults++ == 0) {
            run_.first_call = call;
        }
        if (fault_.kind == Fault::Kind::kill) {
            ::kill(agent_, SIGKILL);
            go_on(process, 0);  // it may be the agent's child, which lives on
            return;
        }
        if (fault_.kind == Fault::Kind::short_transfer && call == SYS_recvmsg) {
            halve_message(process, arguments[1]);
            go_on(process, 0);
            return;
        }
        // Back to what it was when the call returns: programs rely on the registers of arguments to stay.
        Repair& repair = repairs_[process];
        if (fault_.kind == Fault::Kind::short_transfer) {
            repair = {offsetof(user, regs.rdx), arguments[2]};
            set_register(process, repair.offset, arguments[2] / 2);
        } else if (call == SYS_brk) {
            repair = {offsetof(user, regs.rdi), arguments[0]};
            set_register(process, repair.offset, 0);  // this one tells a failure by returning the old break
        } else {
            repair = {offsetof(user, regs.rax), static_cast<unsigned long>(long{-fault_.error})};
            set_register(process, offsetof(user, regs.orig_rax), ~0UL);  // no call has this number
        }
        go_on(process, 0);
    }

    void leave_call(pid_t process) {
        Repair& repair = repairs_[process];
        if (repair.offset != Repair::nothing) {
            set_register(process, repair.offset, repair.value);
            repair = {};
        }
        go_on(process, 0);
    }

    // Halves the room of the message's last part.
    static void halve_message(pid_t process, std::uint64_t message) {
        const unsigned long parts = word_at(process, message + offsetof(msghdr, msg_iov));
        const unsigned long number = word_at(process, message + offsetof(msghdr, msg_iovlen));
        const unsigned long room = parts + (number - 1) * sizeof(iovec) + offsetof(iovec, iov_len);
        ptrace(PTRACE_POKEDATA, process, room, (word_at(process, room) + 1) / 2);
    }

    bool is_due() {
        ++counted_;
        return counted_ == fault_.number || (fault_.ever_after && counted_ > fault_.number);
    }

    // A process may have been killed meanwhile.
    static void set_register(pid_t process, std::size_t offset, unsigned long value) {
        if (ptrace(PTRACE_POKEUSER, process, offset, value) == -1 && errno != ESRCH) {
            check(-1, "set a register");
        }
    }
    void go_on(pid_t process, int signal) const {
        if (ptrace(request_, process, nullptr, signal) == -1 && errno != ESRCH) {
            check(-1, "go on");
        }
    }

    const Fault& fault_;
    FaultyRun& run_;
    __ptrace_request request_;  // up to the next system call, when calls are to be looked at
    pid_t agent_;
    int counted_ = 0;
    std::map<pid_t, Repair> repairs_;
};

}  // namespace

std::optional<int> FaultyRun::status() const {
    const std::string beginning = "EXIT STATUS ";
    const std::size_t line = received.rfind(beginning);
    const bool is_last = line != std::string::npos && received.find('\n', line) == received.size() - 1;
    return is_last ? std::optional(std::stoi(received.substr(line + beginning.size()))) : std::nullopt;
}

namespace {

FaultyRun run_program(const Program& program, ConnectedSockets connection, const Fault& fault) {
    // What the agent leaves becomes a child of this process.
    check(prctl(PR_SET_CHILD_SUBREAPER, 1), "adopt");
    FaultyRun run;
    Tracer tracer(program, connection.agent_end.get(), fault, run);
    connection.agent_end.reset();
    tracer.follow();
    // A connection that is reset, with unread bytes of the peer, has ended too.
    (void)read_all(connection.peer_end.get(), run.received);
    return run;
}

}  // namespace

FaultyRun run_with_fault(ConnectedSockets connection, const Fault& fault) {
    return run_program({{inside_path(ZMLA_AGENT_FILE)}, "LC_ALL=C"}, std::move(connection), fault);
}

FaultyRun run_with_failing_allocation(ConnectedSockets connection, int number, bool ever_after) {
    const std::string variable = "ZMLA_ALLOCATION=" + std::to_string(number) + (ever_after ? "+" : "");
    FaultyRun run = run_program({{inside_path(ZMLA_FORGETFUL_AGENT_FILE)}, variable}, std::move(connection), {});
    run.faults = access("/tmp/allocation_failed", F_OK) == 0 ? 1 : 0;
    run.began = true;
    return run;
}

FaultyRun run_program_with_fault(const std::vector<std::string>& command_line, const Fault& fault) {
    return run_program({command_line, "LC_ALL=C"}, connect_locally(), fault);
}

std::string name_of_call(long number) {
    const auto* const found =
        std::find_if(call_names.begin(), call_names.end(), [&](const CallName& call) { return call.number == number; });
    return found == call_names.end() ? std::to_string(number) : found->name;
}
