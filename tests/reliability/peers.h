// Peers at the other end of connections, many at once.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix.h"
#include "tests/support/agent_runner.h"

struct Peer {
    explicit Peer(Descriptor connection) : socket(std::move(connection)) {}

    Descriptor socket;
    // What came; complete when the connection has ended.
    AgentRun answer;
    bool ended = false;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point end;

    // Sends all of the bytes, as far as the agent is still there to take them.
    void send(std::string_view bytes) const;

    // Closes the connection, as the end of a process does or, unlike that, at once with whatever is on its way.
    void hang_up() { socket.reset(); }
    void break_off();

    // Tells whether anything has come, without taking it.
    [[nodiscard]] bool has_answer() const;

    // Waits until something has come, without taking it.
    void await_answer() const;

    // From when it was connected to the end of the answer.
    [[nodiscard]] double milliseconds() const;
};

using Peers = std::vector<Peer>;

void await_answers(const Peers& peers);

// Receives until the connections of all peers have ended.
void receive_all(Peers& peers);

// The same, and whenever nothing comes for so long, every peer whose connection has not ended sends one more byte of
// the text. Returns how many bytes the most patient one sent.
std::size_t receive_and_drip(Peers& peers, std::string_view text, std::chrono::milliseconds pause);

// How many of the peers got a whole answer with the status.
[[nodiscard]] int count_with_status(const Peers& peers, int status);
