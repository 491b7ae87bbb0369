#include "tests/support/agent_runner.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include "tests/support/agent_process.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

namespace {

// Only a hanging test waits so long.
constexpr int watchdog_milliseconds = 60'000;

constexpr std::string_view status_mark = "EXIT STATUS";

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::string debug_log_text() {
    const std::string folder = logs_folder + "/zmlogadmagent";
    std::string text;
    if (exists(folder)) {
        for (const std::string& name : names_in(folder)) {
            text += read_file(folder + "/" + name);
        }
    }
    return text;
}

std::string sanitizer_reports() {
    std::string reports;
    for (const std::string& name : names_in("/tmp")) {
        if (name.starts_with("sanitizer.")) {
            reports += read_file("/tmp/" + name);
        }
    }
    return reports;
}

}  // namespace

std::string netstring(std::string_view text) {
    return std::to_string(text.size()) + ":" + std::string(text) + ",";
}

std::string netstrings(const Request& request) {
    std::string bytes = netstring(std::to_string(request.size()));
    for (const std::string& text : request) {
        bytes += netstring(text);
    }
    return bytes;
}

int AgentRun::exit_status() const {
    if (!WIFEXITED(wait_status)) {
        throw std::runtime_error("the agent was ended by signal " + std::to_string(WTERMSIG(wait_status)));
    }
    return WEXITSTATUS(wait_status);
}

std::string AgentRun::output() const {
    return received.substr(0, received.rfind(status_mark));
}

std::string AgentRun::status_line() const {
    const std::size_t start = received.rfind(status_mark);
    return start == std::string::npos ? "" : received.substr(start);
}

int AgentRun::status() const {
    const std::string line = status_line();
    if (line.empty()) {
        throw std::runtime_error("no status line in: " + received);
    }
    return std::stoi(line.substr(status_mark.size()));
}

std::vector<LogLine> AgentRun::own_log() const {
    std::vector<LogLine> lines;
    for (const LogLine& line : log) {
        if (line.pid == pid) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::vector<LogLine> AgentRun::child_log() const {
    std::vector<LogLine> lines;
    for (const LogLine& line : log) {
        if (line.pid != pid) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::vector<LogLine> AgentRun::request_log() const {
    std::vector<LogLine> lines;
    bool is_inside = false;
    for (const LogLine& line : own_log()) {
        if (line.text.starts_with("closing peer SOCK")) {
            is_inside = false;
        }
        if (is_inside && line.tag != "is_cmd_valid" && line.tag != "socksend") {
            lines.push_back(line);
        }
        if (line.tag == "process_request") {
            is_inside = true;
        }
    }
    return lines;
}

Agent::Agent(const AgentOptions& options) {
    start(connect_locally(), options);
}

Agent::Agent(ConnectedSockets connection, const AgentOptions& options) {
    start(std::move(connection), options);
}

Agent::~Agent() {
    if (process_.valid()) {
        kill(run_.pid, SIGKILL);
        waitpid(run_.pid, nullptr, 0);
    }
}

void Agent::start(ConnectedSockets connection, const AgentOptions& options) {
    run_.pid = start_agent(connection.agent_end.get(), options);
    process_.reset(static_cast<int>(syscall(SYS_pidfd_open, run_.pid, 0)));
    if (!process_.valid()) {
        fail("pidfd_open");
    }
    peer_ = std::move(connection.peer_end);
}

void Agent::await(int fd, short events) {
    pollfd waited = {.fd = fd, .events = events, .revents = 0};
    int count = 0;
    do {
        count = poll(&waited, 1, watchdog_milliseconds);
    } while (count == -1 && errno == EINTR);
    if (count != 1) {
        throw std::runtime_error("the agent hangs; its log:\n" + debug_log_text());
    }
}

void Agent::receive_some() {
    std::array<char, 65536> buffer;
    const ssize_t count = recv(peer_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count > 0) {
        run_.received.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0) {
        at_end_ = true;
    } else if (errno == ECONNRESET) {
        at_end_ = true;
        run_.broken = true;
    } else if (errno != EAGAIN && errno != EINTR) {
        fail("receive");
    }
}

void Agent::send(std::string_view bytes) {
    while (!bytes.empty() && !at_end_) {
        const ssize_t count = ::send(peer_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EPIPE || errno == ECONNRESET) {
            return;
        } else if (errno == EAGAIN) {
            await(peer_.get(), POLLIN | POLLOUT);
            receive_some();
        } else if (errno != EINTR) {
            fail("send");
        }
    }
}

void Agent::stop_sending() {
    shutdown(peer_.get(), SHUT_WR);
}

void Agent::close_peer() {
    peer_.reset();
}

void Agent::receive_until(std::string_view text) {
    while (run_.received.find(text) == std::string::npos) {
        if (at_end_) {
            throw std::runtime_error("the peer received only: " + run_.received);
        }
        await(peer_.get(), POLLIN);
        receive_some();
    }
}

void Agent::await_log(std::string_view text) {
    for (;;) {
        const Descriptor changes(inotify_init1(IN_CLOEXEC));
        if (inotify_add_watch(changes.get(), logs_folder.c_str(), IN_CREATE) == -1) {
            fail("watch the logs");
        }
        // If the folder is still missing, its creation is watched.
        inotify_add_watch(changes.get(), (logs_folder + "/zmlogadmagent").c_str(), IN_CREATE | IN_MODIFY);
        if (debug_log_text().find(text) != std::string::npos) {
            return;
        }
        await(changes.get(), POLLIN);
    }
}

AgentRun Agent::finish() {
    while (peer_.valid() && !at_end_) {
        await(peer_.get(), POLLIN);
        receive_some();
    }
    await(process_.get(), POLLIN);
    waitpid(run_.pid, &run_.wait_status, 0);
    process_.reset();
    const std::string reports = sanitizer_reports();
    if (!reports.empty()) {
        throw std::runtime_error("a sanitizer reports:\n" + reports);
    }
    run_.log = read_debug_log();
    return run_;
}

AgentRun run_agent(const Request& request, const AgentOptions& options) {
    return run_agent_with_bytes(netstrings(request), options);
}

AgentRun run_agent_with_bytes(std::string_view bytes, const AgentOptions& options) {
    Agent agent(options);
    agent.send(bytes);
    return agent.finish();
}

AgentRun run_agent_without_peer(const Request& request) {
    ConnectedSockets sockets = connect_locally();
    if (!write_all(sockets.peer_end.get(), netstrings(request))) {
        fail("send");
    }
    sockets.peer_end.reset();
    Agent agent(std::move(sockets), {});
    return agent.finish();
}
