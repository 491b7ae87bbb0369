#include "commands/external_commands.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "agent/command_words.h"
#include "agent/response_channel.h"
#include "agent/tool_files.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"
#include "platform/system_error.h"

namespace {

constexpr const char* tag = "execute_cmd_send_output";

// Slots of the child's argument vector. Two of them are for the tool's path and the final null pointer.
constexpr int argv_slots = 512;
constexpr std::size_t most_elements = argv_slots - 2;

template <typename Words>
bool holds(const Words& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

void point_at_socket(int socket, int fd, const char* name) {
    if (socket != fd) {
        const int result = dup2(socket, fd);
        logmsgf(log_level::information, "setup_child_stdfds", "%s dup2() INFD=%d RV=%d", name, socket, result);
    }
}

// Keeps the socket's own descriptor open.
void setup_child_stdfds(int socket) {
    point_at_socket(socket, STDIN_FILENO, "stdin");
    point_at_socket(socket, STDOUT_FILENO, "stdout");
    point_at_socket(socket, STDERR_FILENO, "stderr");
}

// Fills `argv` with pointers to the path and to the texts of the request, except the command word. Both must outlive
// it. Returns false and fills nothing if the request has too many elements.
bool setup_execvp_argv(const RequestVector& request, const std::string& path, std::array<char*, argv_slots>& argv) {
    constexpr const char* argv_tag = "setup_execvp_argv";
    const int elements = static_cast<int>(request.size());
    logmsgf(log_level::information, argv_tag, "input C=%s, #ARGS=%d, MAX ARGV SLOTS=%d", path.c_str(), elements,
            argv_slots);
    if (request.size() > most_elements) {
        logmsgf(log_level::error, argv_tag, "Not enough argv slots. #ARGS=%d SLOTS=%d", elements, argv_slots);
        return false;
    }
    argv[0] = const_cast<char*>(path.c_str());
    for (std::size_t i = 1; i < request.size(); ++i) {
        argv[i] = const_cast<char*>(request[i].c_str());
        // The index counts the path as 1, so the first argument has 2.
        logmsgf(log_level::information, argv_tag, "adding arg A=%s I=%d", argv[i], static_cast<int>(i) + 1);
    }
    argv[request.size()] = nullptr;
    return true;
}

// Tools expect blocking streams and would lose output on a non-blocking socket. Ignores a failure: the tool may still
// work.
void clear_nonblocking(int socket) {
    const int flags = fcntl(socket, F_GETFL);
    if (flags != -1 && (flags & O_NONBLOCK) != 0) {
        fcntl(socket, F_SETFL, flags & ~O_NONBLOCK);
    }
}

[[noreturn]] void become_tool(const RequestVector& request, int socket) {
    setup_child_stdfds(socket);
    const std::string path = getcommandpath(request[0]);
    std::array<char*, argv_slots> argv;
    if (setup_execvp_argv(request, path, argv)) {
        // The tool inherits only its three standard streams and the socket.
        fcntl(socket, F_SETFD, 0);
        const int result = execvp(path.c_str(), argv.data());
        logmsgf(log_level::error, tag, "execvp() failed C=%s EC=%d", path.c_str(), result);
    }
    exit(status::tool_not_executed);
}

// Waits for the child. Returns its exit code, status::tool_killed, or nothing if waitpid fails.
std::optional<int> wait_for_tool(pid_t child, const std::string& path) {
    int word = 0;
    if (waitpid(child, &word, 0) == -1) {
        const SystemError error;
        logmsgf(log_level::error, tag, "waitpid() failed C=%s ERRNO=%d (%s)", path.c_str(), error.number, error.text());
        return std::nullopt;
    }
    int code = WEXITSTATUS(word);
    const int signal = WTERMSIG(word);
    if (signal != 0) {
        logmsgf(log_level::error, tag, "child process terminated w/ signal SIG=%d C=%s", signal, path.c_str());
        code = status::tool_killed;
    }
    logmsgf(log_level::information, tag, "child process exited CEC=%d C=%s", code, path.c_str());
    return code;
}

// Checks that the peer is still connected and has sent nothing more. Returns 0, or the status that replaces the tool's.
int probe_peer(int socket) {
    const int result = fcntl(socket, F_SETFL, O_NONBLOCK);
    if (result == -1) {
        const SystemError error;
        logmsgf(log_level::error, tag, "set socket nonblocking failed RV=%d E=%d (%s)", result, error.number,
                error.text());
        return status::socket_not_nonblocking;
    }
    char byte = 0;
    errno = 0;  // recv sets it only when it fails, and the line shows it in any case
    const ssize_t received = recv(socket, &byte, 1, 0);
    const SystemError left_by_recv;
    logmsgf(log_level::detail, tag, "recv return value=%zd ERRNO=%d (%s)", received, left_by_recv.number,
            left_by_recv.text());
    if (received != -1) {
        // NSC shows the result of recv, not a status: 0 if the peer has closed the connection, 1 if it has sent more.
        logmsgf(log_level::error, tag, "Peer socket is closed NSC=%zd", received);
        return status::peer_closed;
    }
    if (socksend(socket, "\n", 1) != 1) {
        const SystemError error;
        logmsgf(log_level::error, tag, "failed to flush output E=%d (%s)", error.number, error.text());
        return status::output_not_sent;
    }
    return status::success;
}

}  // namespace

int is_cmd_valid(std::string word, bool& is_external) {
    constexpr const char* check_tag = "is_cmd_valid";
    is_external = false;
    if (holds(command_word::external, word)) {
        is_external = true;
        logmsgf(log_level::information, check_tag, "command is valid & external C=%s", word.c_str());
        return status::success;
    }
    if (holds(command_word::built_in, word)) {
        logmsgf(log_level::information, check_tag, "command is valid C=%s", word.c_str());
        return status::success;
    }
    logmsgf(log_level::error, check_tag, "command is not valid C=%s RV=%d", word.c_str(), status::command_not_valid);
    return status::command_not_valid;
}

std::string getcommandpath(std::string name) {
    const auto* const tool =
        std::find_if(tool_files.begin(), tool_files.end(), [&](const ToolFile& row) { return name == row.name; });
    std::string path = tool == tool_files.end() ? "" : tool->path;
    logmsgf(log_level::information, "getcommandpath", "full cmd path N=%s P=%s", name.c_str(), path.c_str());
    return path;
}

int execute_cmd_send_output(const RequestVector& request, int socket) {
    const std::string path = getcommandpath(request[0]);
    clear_nonblocking(socket);
    const pid_t child = fork();
    if (child == -1) {
        const SystemError error;
        logmsgf(log_level::error, tag, "fork() failed C=%s ERRNO=%d (%s)", path.c_str(), error.number, error.text());
        return status::fork_failed;
    }
    if (child == 0) {
        become_tool(request, socket);
    }
    logmsgf(log_level::information, tag, "child process started C=%s PID=%d", path.c_str(), child);
    const std::optional<int> code = wait_for_tool(child, path);
    if (!code) {
        return status::wait_failed;
    }
    const int probed = probe_peer(socket);
    return probed == status::success ? *code : probed;
}
