#include "benchmarks/counted_run.h"

#include <sys/personality.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "platform/posix.h"

namespace {

[[noreturn]] void become_traced(const std::vector<char*>& arguments, int socket) {
    for (int fd = 0; fd <= 2; ++fd) {
        dup2(socket, fd);
    }
    personality(ADDR_NO_RANDOMIZE);
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

std::string read_process_file(pid_t process, const char* name) {
    const std::string path = "/proc/" + std::to_string(process) + "/" + name;
    std::string text;
    FILE* const file = fopen(path.c_str(), "re");
    check(file != nullptr, path.c_str());
    std::array<char, 4096> buffer;
    text.assign(buffer.data(), fread(buffer.data(), 1, buffer.size(), file));
    static_cast<void>(fclose(file));
    return text;
}

long read_peak_kib(pid_t process) {
    const std::string text = read_process_file(process, "status");
    const std::size_t place = text.find("VmHWM:");
    if (place == std::string::npos) {
        throw std::runtime_error("the kernel does not report VmHWM");
    }
    return strtol(text.c_str() + place + 6, nullptr, 10);
}

// The tenth field; the second one, a name in parentheses, may hold blanks.
long read_minor_faults(pid_t process) {
    const std::string text = read_process_file(process, "stat");
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string state;
    std::array<long, 7> numbers{};
    fields >> state;
    for (long& number : numbers) {
        fields >> number;
    }
    return numbers.back();
}

// Follows a program, from its first instruction, and its children until they become other programs.
class Tracer {
  public:
    explicit Tracer(pid_t program) : program_(program) {
        int status = 0;
        check(waitpid(program_, &status, 0) == program_, "waitpid");
        if (!WIFSTOPPED(status)) {
            throw std::runtime_error("the program to be counted could not be started");
        }
        constexpr long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                                 PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_TRACEEXIT | PTRACE_O_EXITKILL;
        check(ptrace(PTRACE_SETOPTIONS, program_, nullptr, options) == 0, "ptrace");
        faults_at_start_ = read_minor_faults(program_);
        resume(program_, 0);
    }

    // Returns when the program has ended.
    void follow(RunCounts& counts) {
        for (;;) {
            int status = 0;
            const pid_t process = waitpid(-1, &status, __WALL);
            check(process > 0, "waitpid");
            if (WIFSTOPPED(status)) {
                handle_stop(process, status, counts);
            } else if (process == program_) {
                if (!WIFEXITED(status)) {
                    throw std::runtime_error("a counted program was ended by a signal");
                }
                counts.run.exit_status = WEXITSTATUS(status);
                return;
            }
        }
    }

  private:
    void handle_stop(pid_t process, int status, RunCounts& counts) {
        const int event = status >> 16;
        const int signal = WSTOPSIG(status);
        if (signal == (SIGTRAP | 0x80)) {
            // Each call stops twice, before and after it.
            bool& inside = inside_call_[process];
            inside = !inside;
            counts.system_calls += inside ? 1 : 0;
            resume(process, 0);
        } else if (event == PTRACE_EVENT_EXEC && process != program_) {
            check(ptrace(PTRACE_DETACH, process, nullptr, nullptr) == 0, "ptrace");
        } else {
            if (event == PTRACE_EVENT_EXIT && process == program_) {
                counts.page_faults = read_minor_faults(process) - faults_at_start_;
                counts.peak_kib = read_peak_kib(process);
            }
            // A new child stops once with SIGSTOP, which nobody sent.
            resume(process, event != 0 || signal == SIGSTOP ? 0 : signal);
        }
    }

    static void resume(pid_t process, long signal) { ptrace(PTRACE_SYSCALL, process, nullptr, signal); }

    pid_t program_;
    long faults_at_start_ = 0;
    std::map<pid_t, bool> inside_call_;
};

}  // namespace

// The peer reads in a thread of its own, because only the thread that started a program can trace it.
RunCounts count_run(const Program& program) {
    const std::vector<char*> arguments = argument_vector(program);
    ConnectedSockets connection = connect_peer(program);
    check(program.request.empty() || write_all(connection.peer_end.get(), program.request), "send a request");
    const pid_t child = fork();
    check(child != -1, "fork");
    if (child == 0) {
        become_traced(arguments, connection.agent_end.get());
    }
    connection.agent_end.reset();
    RunCounts counts;
    ProgramRun received;
    std::thread reader([&] { receive_answer(connection.peer_end.get(), program.reader, received); });
    Tracer(child).follow(counts);
    reader.join();
    received.exit_status = counts.run.exit_status;
    counts.run = received;
    return counts;
}

RunCounts count_request(const std::string& file, const MeasuredRequest& request) {
    RunCounts counts;
    for (int run = 0; run < 2; ++run) {
        request.prepare();
        counts = count_run(program_for(file, request));
        request.check(counts.run);
    }
    return counts;
}
