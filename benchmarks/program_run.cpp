#include "benchmarks/program_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "platform/posix.h"

namespace {

constexpr std::size_t answer_kept = 65536;

void check(bool done, const char* what) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

struct Connection {
    Descriptor peer;
    Descriptor program;
};

Connection connect_pair() {
    std::array<int, 2> ends{};
    check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0, "socketpair");
    return {.peer = Descriptor(ends[0]), .program = Descriptor(ends[1])};
}

std::vector<char*> argument_vector(const Program& program) {
    std::vector<char*> arguments;
    for (const std::string& argument : program.command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    return arguments;
}

class FileActions {
  public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void add_dup2(int from, int to) { posix_spawn_file_actions_adddup2(&actions_, from, to); }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

void receive_answer(int peer, ProgramRun& run) {
    static std::array<char, 262144> buffer;
    for (;;) {
        const ssize_t count = recv(peer, buffer.data(), buffer.size(), 0);
        if (count == -1 && errno == EINTR) {
            continue;
        }
        // A program that did not read all that was sent to it resets the connection when it ends.
        if (count == 0 || (count == -1 && errno == ECONNRESET)) {
            return;
        }
        check(count > 0, "recv");
        const auto size = static_cast<std::size_t>(count);
        run.received += size;
        run.answer.append(buffer.data(), std::min(size, answer_kept - std::min(answer_kept, run.answer.size())));
    }
}

int wait_for_end(pid_t child) {
    int status = 0;
    check(waitpid(child, &status, 0) == child, "waitpid");
    if (!WIFEXITED(status)) {
        throw std::runtime_error("a program was ended by signal " + std::to_string(WTERMSIG(status)));
    }
    return WEXITSTATUS(status);
}

// Returns the high-water mark of a stopped process's memory.
long read_peak_memory(pid_t process) {
    std::string text;
    const std::string path = "/proc/" + std::to_string(process) + "/status";
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    check(file.valid() && read_all(file.get(), text), "read a process's status");
    const std::size_t place = text.find("VmHWM:");
    if (place == std::string::npos) {
        throw std::runtime_error("a process's status tells no VmHWM");
    }
    return strtol(text.c_str() + place + 6, nullptr, 10);
}

[[noreturn]] void become_traced(const Program& program, int socket) {
    const std::vector<char*> arguments = argument_vector(program);
    for (int fd = 0; fd <= 2; ++fd) {
        dup2(socket, fd);
    }
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

void wait_for_stop(pid_t child, int expected_event) {
    int status = 0;
    check(waitpid(child, &status, 0) == child, "waitpid");
    if (!WIFSTOPPED(status) || status >> 8 != (SIGTRAP | (expected_event << 8))) {
        throw std::runtime_error("a traced program did not stop where it was to: " + std::to_string(status));
    }
}

}  // namespace

ProgramRun run_program(const Program& program) {
    const std::vector<char*> arguments = argument_vector(program);
    Connection connection = connect_pair();
    FileActions actions;
    for (int fd = 0; fd <= 2; ++fd) {
        actions.add_dup2(connection.program.get(), fd);
    }
    ProgramRun run;
    pid_t child = 0;
    const auto start = std::chrono::steady_clock::now();
    errno = posix_spawnp(&child, arguments[0], actions.get(), nullptr, arguments.data(), environ);
    check(errno == 0, arguments[0]);
    connection.program.reset();
    // A program that takes no request may have gone already.
    check(program.request.empty() || write_all(connection.peer.get(), program.request), "send a request");
    receive_answer(connection.peer.get(), run);
    run.exit_status = wait_for_end(child);
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return run;
}

// Not by wait4: what that reports begins with what the child had in use before it became the program, which is a copy
// of this process and no smaller than the programs measured. The mark of the program's own is read as it ends.
long measure_peak_memory(const Program& program) {
    Connection connection = connect_pair();
    const pid_t child = fork();
    check(child != -1, "fork");
    if (child == 0) {
        become_traced(program, connection.program.get());
    }
    connection.program.reset();
    wait_for_stop(child, 0);
    check(ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACEEXIT) == 0, "ptrace");
    check(write_all(connection.peer.get(), program.request), "send a request");
    check(ptrace(PTRACE_CONT, child, nullptr, nullptr) == 0, "ptrace");
    wait_for_stop(child, PTRACE_EVENT_EXIT);
    const long peak = read_peak_memory(child);
    check(ptrace(PTRACE_CONT, child, nullptr, nullptr) == 0, "ptrace");
    wait_for_end(child);
    return peak;
}

std::string encode_request(const std::vector<std::string>& words) {
    const auto netstring = [](const std::string& text) { return std::to_string(text.size()) + ":" + text + ","; };
    std::string bytes = netstring(std::to_string(words.size()));
    for (const std::string& word : words) {
        bytes += netstring(word);
    }
    return bytes;
}
