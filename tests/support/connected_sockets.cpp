#include "tests/support/connected_sockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void check(int result, const std::string& what) {
    if (result == -1) {
        fail(what);
    }
}

struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t size = 0;

    [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    [[nodiscard]] sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
};

SocketAddress socket_address(const std::string& address, int port) {
    SocketAddress result;
    in_addr ipv4{};
    if (inet_pton(AF_INET, address.c_str(), &ipv4) == 1) {
        auto* const name = reinterpret_cast<sockaddr_in*>(&result.storage);
        *name = {
            .sin_family = AF_INET, .sin_port = htons(static_cast<in_port_t>(port)), .sin_addr = ipv4, .sin_zero = {}};
        result.size = sizeof *name;
        return result;
    }
    auto* const name = reinterpret_cast<sockaddr_in6*>(&result.storage);
    name->sin6_family = AF_INET6;
    name->sin6_port = htons(static_cast<in_port_t>(port));
    if (inet_pton(AF_INET6, address.c_str(), &name->sin6_addr) != 1) {
        throw std::invalid_argument("not an address: " + address);
    }
    result.size = sizeof *name;
    return result;
}

// Bound to the address; a port of an earlier connection may be used again at once.
Descriptor bound_socket(const std::string& address, int port) {
    const SocketAddress name = socket_address(address, port);
    Descriptor socket(::socket(name.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    check(setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), "reuse addresses");
    check(bind(socket.get(), name.get(), name.size), "bind to " + address);
    return socket;
}

}  // namespace

ConnectedSockets connect_locally() {
    int ends[2] = {-1, -1};
    check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), "socket pair");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

Listener::Listener(const std::string& address) : socket_(bound_socket(address, 0)) {
    check(listen(socket_.get(), 1), "listen");
}

int Listener::port() const {
    SocketAddress name;
    name.size = sizeof name.storage;
    check(getsockname(socket_.get(), name.get(), &name.size), "name of the listener");
    // The port has the same offset in both families.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&name.storage)->sin_port);
}

Descriptor Listener::accept() const {
    Descriptor socket(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    check(socket.get(), "accept");
    return socket;
}

Descriptor connect_to(const std::string& server, int server_port, const std::string& peer, int peer_port) {
    Descriptor socket = bound_socket(peer, peer_port);
    const SocketAddress name = socket_address(server, server_port);
    check(connect(socket.get(), name.get(), name.size), "connect to " + server);
    return socket;
}

ConnectedSockets connect_over_tcp(const TcpEnds& ends) {
    const Listener listener(ends.listener);
    ConnectedSockets connection;
    connection.peer_end = connect_to(ends.server, listener.port(), ends.peer, ends.peer_port);
    connection.agent_end = listener.accept();
    return connection;
}
