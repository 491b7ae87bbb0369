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
#error "The registers of a system call are known here only for x86-64."
#endif

namespace {

void check(long result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
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

// Stops the agent and its children at their system calls and puts the fault into them.
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

    // Returns when no process is left.
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
    // A register to be set when the current call of a process returns.
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
            resume(process, 0);
        } else {
            resume(process, signal);
        }
    }

    // The agent starts here. Any other process that starts a program is a tool, which runs without faults.
    void handle_exec(pid_t process) {
        if (process == agent_) {
            resume(process, 0);
        } else {
            ptrace(PTRACE_DETACH, process, nullptr, nullptr);
        }
    }

    // The kernel stops every new child once.
    bool is_first_stop(pid_t process, int signal) { return signal == SIGSTOP && repairs_.try_emplace(process).second; }

    void handle_call(pid_t process) {
        __ptrace_syscall_info info{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info) <= 0) {
            return;  // killed meanwhile; waitpid reports its end later
        }
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            enter_call(process, static_cast<long>(info.entry.nr), &info.entry.args[0]);
        } else {
            leave_call(process);
        }
    }

    void enter_call(pid_t process, long call, const std::uint64_t* arguments) {
        run_.began = run_.began || call == SYS_umask;
        if (!can_happen(fault_, process, call, arguments) || !is_due()) {
            resume(process, 0);
            return;
        }
        if (run_.faults++ == 0) {
            run_.first_call = call;
        }
        if (fault_.kind == Fault::Kind::kill) {
            ::kill(agent_, SIGKILL);
            resume(process, 0);  // the process may be a child of the agent, which lives on
            return;
        }
        if (fault_.kind == Fault::Kind::short_transfer && call == SYS_recvmsg) {
            halve_message(process, arguments[1]);
            resume(process, 0);
            return;
        }
        // Restored when the call returns: programs rely on unchanged argument registers.
        Repair& repair = repairs_[process];
        if (fault_.kind == Fault::Kind::short_transfer) {
            repair = {offsetof(user, regs.rdx), arguments[2]};
            set_register(process, repair.offset, arguments[2] / 2);
        } else if (call == SYS_brk) {
            repair = {offsetof(user, regs.rdi), arguments[0]};
            set_register(process, repair.offset, 0);  // brk reports a failure by returning the old break
        } else {
            repair = {offsetof(user, regs.rax), static_cast<unsigned long>(long{-fault_.error})};
            set_register(process, offsetof(user, regs.orig_rax), ~0UL);  // no system call has this number
        }
        resume(process, 0);
    }

    void leave_call(pid_t process) {
        Repair& repair = repairs_[process];
        if (repair.offset != Repair::nothing) {
            set_register(process, repair.offset, repair.value);
            repair = {};
        }
        resume(process, 0);
    }

    // Halves the last buffer of the message.
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

    // The process may have been killed meanwhile.
    static void set_register(pid_t process, std::size_t offset, unsigned long value) {
        if (ptrace(PTRACE_POKEUSER, process, offset, value) == -1 && errno != ESRCH) {
            check(-1, "set a register");
        }
    }

    void resume(pid_t process, int signal) const {
        if (ptrace(request_, process, nullptr, signal) == -1 && errno != ESRCH) {
            check(-1, "resume");
        }
    }

    const Fault& fault_;
    FaultyRun& run_;
    __ptrace_request request_;  // continues to the next system call, or without faults to the end
    pid_t agent_;
    int counted_ = 0;
    std::map<pid_t, Repair> repairs_;
};

FaultyRun run_program(const Program& program, ConnectedSockets connection, const Fault& fault) {
    // Orphans of the agent become children of this process.
    check(prctl(PR_SET_CHILD_SUBREAPER, 1), "adopt orphans");
    FaultyRun run;
    Tracer tracer(program, connection.agent_end.get(), fault, run);
    connection.agent_end.reset();
    tracer.follow();
    // A reset connection, with unread bytes of the peer, counts as ended.
    static_cast<void>(read_all(connection.peer_end.get(), run.received));
    return run;
}

}  // namespace

std::optional<int> FaultyRun::status() const {
    const std::string beginning = "EXIT STATUS ";
    const std::size_t line = received.rfind(beginning);
    const bool is_last = line != std::string::npos && received.find('\n', line) == received.size() - 1;
    return is_last ? std::optional(std::stoi(received.substr(line + beginning.size()))) : std::nullopt;
}

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
