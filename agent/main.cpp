// zmlogadmagent: one process, one connection on descriptor 0, one request.

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>

#include "agent/command_words.h"
#include "agent/exit_status.h"
#include "agent/globals.h"
#include "agent/inherited_descriptors.h"
#include "agent/process_setup.h"
#include "agent/request_framing.h"
#include "agent/request_vector.h"
#include "agent/response_channel.h"
#include "commands/directory_removal.h"
#include "commands/external_commands.h"
#include "commands/request_dispatcher.h"
#include "platform/main_configuration.h"
#include "platform/posix.h"
#include "platform/product_files.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

// Points descriptors 0, 1 and 2 at "/dev/null" and returns a private duplicate of the socket. A failure ends the
// process without a message: the log is not open and the peer not verified yet.
Descriptor take_over_socket() {
    if (redirect_fd(STDOUT_FILENO) != 0) {
        exit(exit_status::stdout_not_redirected);
    }
    if (redirect_fd(STDERR_FILENO) != 0) {
        exit(exit_status::stderr_not_redirected);
    }
    // Not fcntl with F_DUPFD_CLOEXEC: the exit status reports that dup failed.
    Descriptor socket(dup(STDIN_FILENO));
    if (!socket.valid()) {
        exit(exit_status::socket_not_duplicated);
    }
    // Programs inherit neither the socket nor what the network service left open. The code that runs a program gives it
    // what it needs.
    keep_descriptors_from_programs(STDERR_FILENO + 1);
    if (redirect_fd(STDIN_FILENO) != 0) {
        exit(exit_status::stdin_not_redirected);
    }
    return socket;
}

// Opens the log even if the configuration cannot be read, because the log reports that.
void read_configuration_and_open_log() {
    constexpr int log_mode = 0666;
    const int result = ZM_read_master_config();
    int out = 0;
    debugFD = open_debug_log(product_files::log_root, c_pname, c_pname, log_mode, &out);
    if (result != 0) {
        logmsgf(log_level::error, c_pname, "failed to read qr.conf SC=%d", result);
        myexit(result);
    }
}

// Sends the final line, then reads and drops what the peer has sent, such as the request of a rejected peer. Closing a
// socket with unread data resets the connection, and the peer could lose the line.
void send_final_status(int status, int socket) {
    constexpr int most_reads = 256;
    std::array<char, 4096> unread;
    qas_report_exit_status(status, socket);
    for (int i = 0; i < most_reads && recv(socket, unread.data(), unread.size(), MSG_DONTWAIT) > 0; ++i) {
    }
}

// Reports the status to the peer and ends a process that never received a request.
[[noreturn]] void report_and_exit(int status, int socket) {
    send_final_status(status, socket);
    myexit(status);
}

void verify_peer(int socket) {
    const int result = setup_comms_w_client(socket);
    if (result != status::success) {
        logmsgf(log_level::error, c_pname, "client communication setup failed SC=%d", result);
        report_and_exit(result, socket);
    }
}

RequestVector receive_request(int socket) {
    RequestVector request;
    const int result = receive_inputs_from_client(socket, request);
    if (result != status::success) {
        logmsgf(log_level::error, c_pname, "failed to receive args SC=%d", result);
        report_and_exit(result, socket);
    }
    return request;
}

int process_request(const RequestVector& request, int socket) {
    logmsgf(log_level::information, "process_request", "processing request R=%s", request[0].c_str());
    bool is_external = false;
    const int result = is_cmd_valid(request[0], is_external);
    if (result != status::success) {
        return result;
    }
    return is_external ? execute_cmd_send_output(request, socket) : perform_request_send_output(request, socket);
}

void perform_cleanup_on_failure(const std::string& command, int status) {
    constexpr const char* tag = "perform_cleanup_on_failure";
    const bool collects = command == command_word::run_zmcplogs || command == command_word::run_zmsu ||
                          command == command_word::calculate_log_size;
    if (status == status::success || !collects) {
        return;
    }
    logmsgf(log_level::error, c_pname, "Received NSC=%d (%s). Cleanup required", status, getECmsg(status));
    if (g_termdir.empty()) {
        logmsgf(log_level::warning, tag, "Directory string is empty");
        return;
    }
    logmsgf(log_level::information, tag, "cleaning up: %s", g_termdir.c_str());
    static_cast<void>(remove_directory(g_termdir.c_str(), recursively));
}

}  // namespace

int main() {
    umask(022);
    mywinsock_start();
    const Descriptor socket = take_over_socket();
    survive_file_size_limit();
    read_configuration_and_open_log();
    signal(SIGPIPE, SIG_IGN);  // writing to a closed peer fails instead of ending the process
    signal(SIGCHLD, SIG_DFL);  // the agent must be able to wait for its children, even if the service ignores its own
    verify_peer(socket.get());
    const RequestVector request = receive_request(socket.get());
    const int status = process_request(request, socket.get());
    perform_cleanup_on_failure(request[0], status);
    logmsgf(log_level::information, c_pname, "closing peer SOCK (%d) in QAS NSC=%d", socket.get(), status);
    send_final_status(status, socket.get());
    // Unlike myexit, this returns the status unchanged. The parent sees its low eight bits.
    return status;
}
