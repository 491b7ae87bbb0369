// Connected pairs of sockets: the one that the network service passes to the agent, and the one of the peer.
#pragma once

#include <sys/socket.h>

#include <string>

#include "platform/posix.h"

struct ConnectedSockets {
    Descriptor agent_end;
    Descriptor peer_end;
};

// A Unix-domain socket pair: the peer is this process.
[[nodiscard]] ConnectedSockets connect_locally();

// A TCP connection. The agent has the accepted end.
struct TcpEnds {
    // The address that listens. "::" with an IPv4 peer gives the agent addresses mapped into IPv6.
    std::string listener = "127.0.0.1";
    std::string server = "127.0.0.1";
    std::string peer = "127.0.0.1";
    // The peer's port, or 0 for any that is not reserved.
    int peer_port = 0;
};

[[nodiscard]] ConnectedSockets connect_over_tcp(const TcpEnds& ends);

// A socket that listens at an address, on a port that the kernel chooses.
class Listener {
  public:
    explicit Listener(const std::string& address);
    [[nodiscard]] int port() const;
    // Accepts the next connection, which must already exist.
    [[nodiscard]] Descriptor accept() const;

  private:
    Descriptor socket_;
};

// Connects to an address and a port from an address and a port, 0 for any. Throws when nobody listens.
[[nodiscard]] Descriptor connect_to(const std::string& server, int server_port, const std::string& peer, int peer_port);
