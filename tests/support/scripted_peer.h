// A peer for the request command. A test itself is its script: it accepts the connection, receives, sends and hangs up
// in the order that the case is about.
#pragma once

#include <netinet/in.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/posix.h"

// The peer's end of one connection. Whatever cannot be done throws std::system_error.
class PeerConnection {
  public:
    explicit PeerConnection(Descriptor socket) : socket_(std::move(socket)) {}

    // Receives one whole request and not one byte more. Returns its bytes.
    [[nodiscard]] std::string receive_request() const;

    // Receives whatever comes until the command closes the connection.
    [[nodiscard]] std::string receive_to_end() const;

    // Tells whether the command has neither sent any more nor stopped sending.
    [[nodiscard]] bool command_waits() const;

    void send(std::string_view text) const;
    void stop_sending() const;
    // Closes the connection. What has not been received makes that a reset.
    void close() { socket_.reset(); }
    // Breaks a TCP connection off.
    void reset();

    // The port that the command has connected from.
    [[nodiscard]] int source_port() const;

  private:
    [[nodiscard]] std::string receive(std::size_t size) const;
    [[nodiscard]] std::string receive_netstring(std::string& bytes) const;

    Descriptor socket_;
};

// Where the command connects to.
class PeerListener {
  public:
    // Listens at an address, on any port when none is given.
    explicit PeerListener(const std::string& address, int port = 0);

    // Listens at a Unix-domain socket.
    static PeerListener at_path(const std::string& path);

    // The options that lead the command here.
    [[nodiscard]] const std::vector<std::string>& options() const { return options_; }
    [[nodiscard]] int port() const;

    // The listening socket, which is readable when a connection has been made.
    [[nodiscard]] int get() const { return socket_.get(); }

    // Takes the next connection, or waits for it.
    [[nodiscard]] PeerConnection accept() const;

    // Tells whether a connection has been made that was not accepted yet.
    [[nodiscard]] bool has_connection() const;

    // From now on connecting hangs: the queue of connections is full, and nobody takes one from it.
    void hang();

  private:
    PeerListener() = default;
    void listen_at(const sockaddr* address, socklen_t size);

    Descriptor socket_;
    Descriptor first_in_queue_;
    std::vector<std::string> options_;
};
