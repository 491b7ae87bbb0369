// The network service that starts an agent for each connection, and what it and its agents take of the system.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>

#include "platform/posix.h"

// What a test finds the same before and after its load.
struct DoorState {
    // Descendants of the test, the door among them; ended ones count until they are waited for.
    int processes = 0;
    int descriptors_of_door = 0;
    int descriptors_of_test = 0;
    bool operator==(const DoorState&) const = default;
};

// systemd-socket-activate at 127.0.0.1, which starts agents as inetd does. One at a time.
class NetworkDoor {
  public:
    // Listens when it returns. Wants a fresh product tree.
    NetworkDoor();
    ~NetworkDoor();
    NetworkDoor(const NetworkDoor&) = delete;
    NetworkDoor& operator=(const NetworkDoor&) = delete;

    // Connects from a loopback address that no connection of this door had before, as root of this host does or as
    // another user does.
    [[nodiscard]] Descriptor connect_as_root() { return connect_from(1000); }
    [[nodiscard]] Descriptor connect_as_anybody() { return connect_from(0); }

    // Waits until the door has waited for the agents of all connections, or of all but so many.
    void await_end_of_agents() const { await_end_of_all_but(0); }
    void await_end_of_all_but(int count) const;

    // The statuses that agents ended with; the number of the signal for one that a signal ended.
    [[nodiscard]] std::set<int> statuses_of_agents() const;

    [[nodiscard]] DoorState state() const;
    // Memory of the door in use, in KiB.
    [[nodiscard]] long memory() const;

  private:
    Descriptor connect_from(int port);

    pid_t process_ = -1;
    int connections_ = 0;
};

// How often the text stands in the debug log.
[[nodiscard]] int count_in_debug_log(const std::string& text);

// Waits until the text stands so often in the debug log. The log's folder is there once an agent has run.
void await_in_debug_log(const std::string& text, int count);
