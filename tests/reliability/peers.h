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
    // What the peer has received; complete when the connection has ended.
    AgentRun answer;
    bool ended = false;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point end;

    // Sends the bytes, unless the agent has closed the connection.
    void send(std::string_view bytes) const;

    // Closes the connection in the usual way, or with a reset that drops what was sent.
    void close() { socket.reset(); }
    void reset();

    // Returns whether there is anything to receive. Receives nothing.
    [[nodiscard]] bool has_answer() const;

    // Waits until there is something to receive. Receives nothing.
    void await_answer() const;

    // The time from the connection to the end of the answer.
    [[nodiscard]] double milliseconds() const;
};

using Peers = std::vector<Peer>;

void await_answers(const Peers& peers);

// Receives until the connections of all peers have ended.
void receive_all(Peers& peers);

// The same. After each pause without input, every peer that is still connected sends one more byte of the text. Returns
// the largest number of bytes that a peer has sent.
std::size_t receive_and_drip(Peers& peers, std::string_view text, std::chrono::milliseconds pause);

// Returns the number of peers with a whole answer of that status.
[[nodiscard]] int count_with_status(const Peers& peers, int status);
