// Runs the real agent, as the network service does, with a scripted peer at the other end of its socket.
#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix.h"
#include "tests/support/connected_sockets.h"
#include "tests/support/debug_log_lines.h"

using Request = std::vector<std::string>;

// Returns the bytes of a request: the count and each text as netstrings.
[[nodiscard]] std::string netstring(std::string_view text);
[[nodiscard]] std::string netstrings(const Request& request);

// A system call that fails in the agent and its tools: always, or when one of its arguments (counted from 0) has a
// value.
struct RefusedCall {
    long number = 0;
    int error = 0;
    unsigned argument = 0;
    std::optional<unsigned> value = std::nullopt;
};

struct AgentOptions {
    // Variables of the agent's environment, "NAME=value".
    std::vector<std::string> environment = {"PATH=/usr/bin:/bin"};
    std::string working_folder = "/";
    mode_t creation_mask = 0;
    // The standard descriptors that are closed.
    std::vector<int> closed;
    // Signals that are ignored when the agent starts.
    std::vector<int> ignored_signals;
    // Further descriptors that are open.
    std::vector<int> extra_descriptors;
    std::optional<rlim_t> descriptor_limit;
    std::optional<rlim_t> file_size_limit;
    // A folder that the agent and its tools see empty.
    std::string emptied_folder;
    // The user number of agent and peer. Any number except 0 makes the peer an ordinary user.
    uid_t user = 0;
    std::vector<RefusedCall> refused_calls;
};

// The results of one run.
struct AgentRun {
    // Everything that the peer received, and whether the connection was reset.
    std::string received;
    bool broken = false;
    int wait_status = 0;
    pid_t pid = 0;
    std::vector<LogLine> log;

    // The exit status; throws when a signal ended the agent.
    [[nodiscard]] int exit_status() const;
    // What the peer received before the last "EXIT STATUS", and from there on.
    [[nodiscard]] std::string output() const;
    [[nodiscard]] std::string status_line() const;
    // The number of the status line; throws when the peer received none.
    [[nodiscard]] int status() const;

    // The messages of the agent itself, and those of the child that executes the tool.
    [[nodiscard]] std::vector<LogLine> own_log() const;
    [[nodiscard]] std::vector<LogLine> child_log() const;
    // The messages of the agent itself between "processing request" and "closing peer", without those of is_cmd_valid
    // and socksend.
    [[nodiscard]] std::vector<LogLine> request_log() const;
};

// A running agent. A wait that takes too long kills it and throws std::runtime_error.
class Agent {
  public:
    explicit Agent(const AgentOptions& options = {});
    Agent(ConnectedSockets connection, const AgentOptions& options);
    ~Agent();
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    // Sends bytes, and receives meanwhile. Stops sending when the agent has gone.
    void send(std::string_view bytes);
    void send(const Request& request) { send(netstrings(request)); }

    void stop_sending();
    void close_peer();

    // Receives until the text has arrived.
    void receive_until(std::string_view text);

    // Waits until the debug log contains the text. Does not receive meanwhile.
    void await_log(std::string_view text);

    // Receives the rest, unless the peer was closed, and waits for the end of the agent.
    AgentRun finish();

  private:
    void start(ConnectedSockets connection, const AgentOptions& options);
    void receive_some();
    void await(int fd, short events);

    Descriptor peer_;
    Descriptor process_;
    AgentRun run_;
    bool at_end_ = false;
};

// Sends one request, or any bytes, to a new agent and waits for its end.
[[nodiscard]] AgentRun run_agent(const Request& request, const AgentOptions& options = {});
[[nodiscard]] AgentRun run_agent_with_bytes(std::string_view bytes, const AgentOptions& options = {});

// Runs an agent whose peer has sent the request and closed its end before the agent started.
[[nodiscard]] AgentRun run_agent_without_peer(const Request& request);
