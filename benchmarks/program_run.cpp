#include "benchmarks/program_run.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <stdexcept>
#include <system_error>

#include "platform/posix.h"

namespace {

constexpr std::size_t answer_kept = 1U << 22;

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

int wait_for_end(pid_t child) {
    int status = 0;
    check(waitpid(child, &status, 0) == child, "waitpid");
    if (!WIFEXITED(status)) {
        throw std::runtime_error("a measured program was ended by a signal");
    }
    return WEXITSTATUS(status);
}

// Each connection from another port: the one before may not be free yet.
int next_reserved_port() {
    constexpr int first = 600;
    constexpr int last = 1023;
    static int port = last;
    port = port == last ? first : port + 1;
    return port;
}

ConnectedSockets connect_from_reserved_port() {
    ConnectedSockets sockets = connect_over_tcp({.peer_port = next_reserved_port()});
    // The peer closes with a reset, so that no closed connection keeps its port.
    const linger reset = {.l_onoff = 1, .l_linger = 0};
    check(setsockopt(sockets.peer_end.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset) == 0, "SO_LINGER");
    return sockets;
}

}  // namespace

void check(bool done, const char* what) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

ConnectedSockets connect_peer(const Program& program) {
    return program.transport == Transport::local ? connect_locally() : connect_from_reserved_port();
}

std::vector<char*> argument_vector(const Program& program) {
    std::vector<char*> arguments;
    for (const std::string& argument : program.command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    return arguments;
}

void receive_answer(int peer, Reader reader, ProgramRun& run) {
    constexpr timespec pause = {.tv_sec = 0, .tv_nsec = 2'000'000};
    static std::array<char, 262144> buffer;
    const std::size_t room = reader == Reader::slow ? 16384 : buffer.size();
    for (;;) {
        const ssize_t count = recv(peer, buffer.data(), room, 0);
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
        if (reader == Reader::slow) {
            nanosleep(&pause, nullptr);
        }
        run.answer.append(buffer.data(), std::min(size, answer_kept - std::min(answer_kept, run.answer.size())));
    }
}

ProgramRun run_program(const Program& program) {
    const std::vector<char*> arguments = argument_vector(program);
    ConnectedSockets connection = connect_peer(program);
    FileActions actions;
    for (int fd = 0; fd <= 2; ++fd) {
        actions.add_dup2(connection.agent_end.get(), fd);
    }
    ProgramRun run;
    pid_t child = 0;
    const auto start = std::chrono::steady_clock::now();
    errno = posix_spawnp(&child, arguments[0], actions.get(), nullptr, arguments.data(), environ);
    check(errno == 0, arguments[0]);
    connection.agent_end.reset();
    // A program that takes no request may have ended already.
    check(program.request.empty() || write_all(connection.peer_end.get(), program.request), "send a request");
    receive_answer(connection.peer_end.get(), program.reader, run);
    run.exit_status = wait_for_end(child);
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return run;
}

std::string encode_request(const std::vector<std::string>& words) {
    const auto netstring = [](const std::string& text) { return std::to_string(text.size()) + ":" + text + ","; };
    std::string bytes = netstring(std::to_string(words.size()));
    for (const std::string& word : words) {
        bytes += netstring(word);
    }
    return bytes;
}
