// A peer for the request command. The test is its script: it accepts the connection, receives, sends and closes in the
// order that it needs.
#pragma once

#include <netinet/in.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/posix.h"

// The peer's end of one connection. Failures throw std::system_error.
class PeerConnection {
  public:
    explicit PeerConnection(Descriptor socket) : socket_(std::move(socket)) {}

    // Receives exactly one request. Returns its bytes.
    [[nodiscard]] std::string receive_request() const;

    // Receives everything until the command closes the connection.
    [[nodiscard]] std::string receive_to_end() const;

    // Returns whether the command has neither sent more nor stopped sending.
    [[nodiscard]] bool command_waits() const;

    void send(std::string_view text) const;
    void stop_sending() const;
    // Closes the connection. Unreceived bytes turn that into a reset.
    void close() { socket_.reset(); }
    // Resets a TCP connection.
    void reset();

    // Returns the port that the command connected from.
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

    // The options that make the command connect here.
    [[nodiscard]] const std::vector<std::string>& options() const { return options_; }
    [[nodiscard]] int port() const;

    // The listening socket. It is readable when there is a connection.
    [[nodiscard]] int get() const { return socket_.get(); }

    // Accepts the next connection, or waits for it.
    [[nodiscard]] PeerConnection accept() const;

    // Returns whether there is a connection that was not accepted yet.
    [[nodiscard]] bool has_connection() const;

    // Fills the queue of connections, so that further connects hang.
    void hang();

  private:
    PeerListener() = default;
    void listen_at(const sockaddr* address, socklen_t size);

    Descriptor socket_;
    Descriptor first_in_queue_;
    std::vector<std::string> options_;
};
