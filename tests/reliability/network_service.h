// The network service that starts an agent for each connection, and the resources that it and its agents hold.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>

#include "platform/posix.h"

// Resources that must be the same before and after a load.
struct ServiceState {
    // Descendants of the test. Includes the service, and processes that have ended but were not waited for.
    int processes = 0;
    int descriptors_of_service = 0;
    int descriptors_of_test = 0;
    bool operator==(const ServiceState&) const = default;
};

// systemd-socket-activate at 127.0.0.1, which starts agents as inetd does. There can be only one at a time.
class NetworkService {
  public:
    // Listens when it returns. Needs a fresh product tree.
    NetworkService();
    ~NetworkService();
    NetworkService(const NetworkService&) = delete;
    NetworkService& operator=(const NetworkService&) = delete;

    // Connects from a new loopback address for each connection, from a port of root or of another user.
    [[nodiscard]] Descriptor connect_as_root() { return connect_from(1000); }
    [[nodiscard]] Descriptor connect_as_anybody() { return connect_from(0); }

    // Waits until the service has waited for the agents of all connections, or of all but that many.
    void await_end_of_agents() const { await_end_of_all_but(0); }
    void await_end_of_all_but(int count) const;

    // The exit statuses of the agents; the signal number for an agent that a signal ended.
    [[nodiscard]] std::set<int> statuses_of_agents() const;

    [[nodiscard]] ServiceState state() const;
    // Memory of the service in use, in KiB.
    [[nodiscard]] long memory() const;

  private:
    Descriptor connect_from(int port);

    pid_t process_ = -1;
    int connections_ = 0;
};

// Returns the number of times that the debug log has the text.
[[nodiscard]] int count_in_debug_log(const std::string& text);

// Waits until the debug log has the text that many times. An agent must have run before, so that the log exists.
void await_in_debug_log(const std::string& text, int count);
