#include "tests/support/scripted_peer.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace {

void check(ssize_t result, const std::string& what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), "peer: " + what);
    }
}

// The port has the same offset in both families.
int port_of(const sockaddr_storage& address) {
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

bool await(int fd, short events, int timeout) {
    pollfd entry = {.fd = fd, .events = events, .revents = 0};
    check(poll(&entry, 1, timeout), "poll");
    return entry.revents != 0;
}

}  // namespace

std::string PeerConnection::receive(std::size_t size) const {
    std::string bytes(size, '\0');
    const ssize_t count = recv(socket_.get(), bytes.data(), size, MSG_WAITALL);
    check(count, "receive");
    if (static_cast<std::size_t>(count) != size) {
        throw std::runtime_error("peer: the command has stopped sending within its request");
    }
    return bytes;
}

// Returns the value and appends the bytes as they came.
std::string PeerConnection::receive_netstring(std::string& bytes) const {
    std::string length;
    do {
        length += receive(1);
    } while (length.back() >= '0' && length.back() <= '9');
    const std::string value = receive(std::stoul(length) + 1);
    bytes += length + value;
    return value.substr(0, value.size() - 1);
}

std::string PeerConnection::receive_request() const {
    std::string bytes;
    for (unsigned long left = std::stoul(receive_netstring(bytes)); left != 0; --left) {
        static_cast<void>(receive_netstring(bytes));
    }
    return bytes;
}

std::string PeerConnection::receive_to_end() const {
    std::string bytes;
    if (!read_all(socket_.get(), bytes)) {
        check(-1, "receive to the end");
    }
    return bytes;
}

bool PeerConnection::command_waits() const {
    return !await(socket_.get(), POLLIN | POLLRDHUP, 0);
}

void PeerConnection::send(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t count = ::send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL);
        check(count, "send");
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

void PeerConnection::stop_sending() const {
    check(shutdown(socket_.get(), SHUT_WR), "stop sending");
}

void PeerConnection::reset() {
    const linger none = {.l_onoff = 1, .l_linger = 0};
    check(setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &none, sizeof none), "break off");
    socket_.reset();
}

int PeerConnection::source_port() const {
    sockaddr_storage name{};
    socklen_t size = sizeof name;
    check(getpeername(socket_.get(), reinterpret_cast<sockaddr*>(&name), &size), "name of the command's end");
    return port_of(name);
}

PeerListener::PeerListener(const std::string& address, int port) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        throw std::invalid_argument("not an address: " + address);
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, freeaddrinfo);
    listen_at(found->ai_addr, found->ai_addrlen);
    options_ = {"-H", address, "-p", std::to_string(this->port())};
}

PeerListener PeerListener::at_path(const std::string& path) {
    PeerListener listener;
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    listener.listen_at(reinterpret_cast<const sockaddr*>(&address), sizeof address);
    listener.options_ = {"-S", path};
    return listener;
}

void PeerListener::listen_at(const sockaddr* address, socklen_t size) {
    socket_.reset(socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    check(socket_.get(), "make a socket");
    const int on = 1;
    check(setsockopt(socket_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), "reuse a port");
    check(bind(socket_.get(), address, size), "bind");
    check(listen(socket_.get(), 1), "listen");
}

int PeerListener::port() const {
    sockaddr_storage name{};
    socklen_t size = sizeof name;
    check(getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&name), &size), "name of the listener");
    return port_of(name);
}

PeerConnection PeerListener::accept() const {
    Descriptor socket(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    check(socket.get(), "accept");
    return PeerConnection(std::move(socket));
}

bool PeerListener::has_connection() const {
    return await(socket_.get(), POLLIN, 0);
}

void PeerListener::hang() {
    // One connection fills the queue.
    check(listen(socket_.get(), 0), "listen");
    sockaddr_storage name{};
    socklen_t size = sizeof name;
    check(getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&name), &size), "name of the listener");
    first_in_queue_.reset(socket(name.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    check(connect(first_in_queue_.get(), reinterpret_cast<const sockaddr*>(&name), size), "connect");
    await(socket_.get(), POLLIN, -1);
}
