#include "request_command/remote_host.h"

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "platform/deadline.h"
#include "request_command/failure.h"

namespace {

// The upper half of the ports that only root may use; well-known services listen on the lower one.
constexpr unsigned first_root_port = 512;
constexpr unsigned root_ports = 512;

struct AddressesFreer {
    void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};
using Addresses = std::unique_ptr<addrinfo, AddressesFreer>;

void end_look_up(int /*signal*/) {
    constexpr std::string_view message = "zmlogadm: the host could not be looked up within the time-out\n";
    write_all(STDERR_FILENO, message);
    _exit(own_failure);
}

Addresses look_up(const RemoteHost& host, std::chrono::seconds timeout) {
    addrinfo hints = {};
    hints.ai_flags = AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    // The resolver knows no time-out of its caller.
    signal(SIGALRM, end_look_up);
    alarm(static_cast<unsigned>(timeout.count()));
    const int result = getaddrinfo(host.name.c_str(), std::to_string(host.port).c_str(), &hints, &found);
    const int error = errno;
    alarm(0);
    if (result != 0) {
        throw Failure("cannot look up " + host.name + ": " +
                      (result == EAI_SYSTEM ? strerror(error) : gai_strerror(result)));
    }
    return Addresses(found);
}

Descriptor open_socket(const addrinfo& address) {
    Descriptor socket(::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol));
    if (!socket.valid()) {
        throw system_failure(errno, "cannot make a socket");
    }
    // An agent's host that goes down while a tool runs there is noticed in the end.
    const int on = 1;
    setsockopt(socket.get(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    return socket;
}

// Binds to the port, whatever the address. Returns whether that worked; if not, errno says why.
bool bind_to_port(int fd, int family, unsigned port) {
    const in_port_t wire_port = htons(static_cast<in_port_t>(port));
    if (family == AF_INET6) {
        sockaddr_in6 any = {};
        any.sin6_family = AF_INET6;
        any.sin6_port = wire_port;
        return bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof any) == 0;
    }
    sockaddr_in any = {};
    any.sin_family = AF_INET;
    any.sin_port = wire_port;
    return bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof any) == 0;
}

// Returns 0 when the descriptor became writable by the deadline, else an error number.
int wait_until_writable(int fd, Deadline deadline) {
    pollfd entry = {.fd = fd, .events = POLLOUT, .revents = 0};
    for (;;) {
        const int ready = poll(&entry, 1, static_cast<int>(time_left(deadline).count()));
        if (ready >= 0) {
            return ready == 0 ? ETIMEDOUT : 0;
        }
        if (errno != EINTR) {
            return errno;
        }
    }
}

// Waits for the outcome of a connect that goes on in the background. Returns 0 or its error number.
int finish_connecting(int fd, Deadline deadline) {
    int error = wait_until_writable(fd, deadline);
    socklen_t size = sizeof error;
    if (error == 0 && getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == -1) {
        error = errno;
    }
    return error;
}

// A connect to a port of this host where nobody listens succeeds when its source port happens to be that port.
bool is_connected_to_itself(int fd) {
    sockaddr_storage own = {};
    sockaddr_storage peer = {};
    socklen_t own_size = sizeof own;
    socklen_t peer_size = sizeof peer;
    // Both names are of the socket's family, and so of one size.
    return getsockname(fd, reinterpret_cast<sockaddr*>(&own), &own_size) == 0 &&
           getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peer_size) == 0 && memcmp(&own, &peer, own_size) == 0;
}

// Returns 0 when the socket was connected by the deadline, else an error number.
int connect_socket(int fd, const addrinfo& address, Deadline deadline) {
    int error = connect(fd, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
    // An interrupted connect goes on in the background, too.
    if (error == EINPROGRESS || error == EINTR) {
        error = finish_connecting(fd, deadline);
    }
    return error == 0 && is_connected_to_itself(fd) ? ECONNREFUSED : error;
}

Descriptor connect_from_any_port(const addrinfo& address, Deadline deadline) {
    Descriptor socket = open_socket(address);
    const int error = connect_socket(socket.get(), address, deadline);
    if (error != 0) {
        throw Failure(strerror(error));
    }
    return socket;
}

Descriptor connect_from_root_port(const addrinfo& address, Deadline deadline) {
    const unsigned start = std::random_device()();
    int error = 0;
    for (unsigned i = 0; i != root_ports; ++i) {
        Descriptor socket = open_socket(address);
        if (!bind_to_port(socket.get(), address.ai_family, first_root_port + (start + i) % root_ports)) {
            error = errno;
            if (error == EADDRINUSE) {
                continue;
            }
            throw system_failure(error, "cannot use a source port below 1024");
        }
        error = connect_socket(socket.get(), address, deadline);
        if (error == 0) {
            return socket;
        }
        // A port may be free and yet not serve for this peer, while an earlier connection lingers.
        if (error != EADDRINUSE && error != EADDRNOTAVAIL) {
            throw Failure(strerror(error));
        }
    }
    throw system_failure(error, "no source port from 512 to 1023 can be used");
}

std::string text_of(const addrinfo& address) {
    std::array<char, NI_MAXHOST> text = {"?"};
    getnameinfo(address.ai_addr, address.ai_addrlen, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST);
    return text.data();
}

int count_of(const addrinfo* addresses) {
    int count = 0;
    for (; addresses != nullptr; addresses = addresses->ai_next) {
        ++count;
    }
    return count;
}

}  // namespace

Descriptor connect_to_host(const RemoteHost& host, std::chrono::seconds timeout) {
    const Deadline deadline = Clock::now() + timeout;
    const Addresses addresses = look_up(host, timeout);
    std::string failures;
    for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
        const Deadline share = Clock::now() + time_left(deadline) / count_of(address);
        try {
            return geteuid() == 0 ? connect_from_root_port(*address, share) : connect_from_any_port(*address, share);
        } catch (const Failure& failure) {
            failures += (failures.empty() ? "" : "; ") + text_of(*address) + ": " + failure.what();
        }
    }
    throw Failure("cannot connect to " + host.name + " port " + std::to_string(host.port) + ": " + failures);
}
