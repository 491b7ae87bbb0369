#include "request_command/remote_host.h"

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/deadline.h"
#include "platform/library/name_lookup.h"
#include "request_command/failure.h"

namespace {

// The upper half of the ports that only root may use. Well-known services listen on the lower half.
constexpr unsigned first_root_port = 512;
constexpr unsigned root_ports = 512;

using platform_library::Address;
using platform_library::LookUpEnd;

// A socket address of either family.
struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t size = 0;

    [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

SocketAddress socket_address(const Address& address, std::uint16_t port) {
    SocketAddress result;
    if (address.family == AF_INET6) {
        sockaddr_in6 name{};
        name.sin6_family = AF_INET6;
        name.sin6_port = htons(port);
        name.sin6_scope_id = address.scope;
        memcpy(&name.sin6_addr, address.bytes.data(), sizeof name.sin6_addr);
        memcpy(&result.storage, &name, result.size = sizeof name);
        return result;
    }
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    memcpy(&name.sin_addr, address.bytes.data(), sizeof name.sin_addr);
    memcpy(&result.storage, &name, result.size = sizeof name);
    return result;
}

// Says why the text is not looked up. Users know hosts as HOST:PORT and [ADDRESS] from other programs.
std::string describe_unusable_name(const std::string& text) {
    const bool may_have_port = text.starts_with('[') || std::count(text.begin(), text.end(), ':') == 1;
    return std::string("neither a host name nor an address") +
           (may_have_port ? "; write the host without brackets, and the port with --port" : "");
}

// Returns the addresses in the order in which to try them.
std::vector<Address> look_up(const std::string& name, std::chrono::seconds timeout, IdleTask* task) {
    const std::string no_addresses = "cannot look up " + name + ": ";
    if (!platform_library::is_host_name(name)) {
        throw Failure(FailureCode::lookup_failed, no_addresses + describe_unusable_name(name));
    }
    std::vector<Address> found;
    const auto keep = [&found](const Address& address) {
        if (std::find(found.begin(), found.end(), address) == found.end()) {
            found.push_back(address);
        }
        return false;
    };
    switch (platform_library::look_up({name}, Clock::now() + timeout, keep, task)) {
        case LookUpEnd::not_started:
            throw system_failure(errno, "cannot look up " + name, FailureCode::lookup_failed);
        case LookUpEnd::timed_out:
            throw Failure(FailureCode::lookup_timed_out,
                          no_addresses + "no answer within " + std::to_string(timeout.count()) + " s");
        default:
            break;
    }
    if (found.empty()) {
        throw Failure(FailureCode::lookup_failed, no_addresses + "Name or service not known");
    }
    return found;
}

Descriptor open_socket(const SocketAddress& address) {
    Descriptor socket(::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.valid()) {
        throw system_failure(errno, "cannot make a socket", FailureCode::connection_failed);
    }
    // Keep-alive detects, after some time, that the agent's host is down.
    const int on = 1;
    setsockopt(socket.get(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    return socket;
}

// Binds to the port on any address. Returns whether that worked; errno gives the reason if not.
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
int wait_until_writable(int fd, Deadline deadline, IdleTask* task) {
    pollfd entry = {.fd = fd, .events = POLLOUT, .revents = 0};
    for (;;) {
        const Deadline stop = next_stop(deadline, task);
        const int ready = poll(&entry, 1, static_cast<int>(time_left(stop).count()));
        if (ready > 0) {
            return 0;
        }
        if (ready == -1 && errno != EINTR) {
            return errno;
        }
        if (ready == 0 && stop == deadline) {
            return ETIMEDOUT;
        }
        run(task);
    }
}

// Waits for the result of a connect that continues in the background. Returns 0 or its error number.
int finish_connecting(int fd, Deadline deadline, IdleTask* task) {
    int error = wait_until_writable(fd, deadline, task);
    socklen_t size = sizeof error;
    if (error == 0 && getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == -1) {
        error = errno;
    }
    return error;
}

// A connect to a port of this host where nobody listens succeeds if the source port happens to be the same port.
bool is_connected_to_itself(int fd) {
    sockaddr_storage own = {};
    sockaddr_storage peer = {};
    socklen_t own_size = sizeof own;
    socklen_t peer_size = sizeof peer;
    // Both addresses are of the socket's family, so they have the same size.
    return getsockname(fd, reinterpret_cast<sockaddr*>(&own), &own_size) == 0 &&
           getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peer_size) == 0 && memcmp(&own, &peer, own_size) == 0;
}

// Returns 0 when the socket was connected by the deadline, else an error number.
int connect_socket(int fd, const SocketAddress& address, Deadline deadline, IdleTask* task) {
    int error = connect(fd, address.get(), address.size) == 0 ? 0 : errno;
    // An interrupted connect continues in the background too.
    if (error == EINPROGRESS || error == EINTR) {
        error = finish_connecting(fd, deadline, task);
    }
    return error == 0 && is_connected_to_itself(fd) ? ECONNREFUSED : error;
}

Descriptor connect_from_any_port(const SocketAddress& address, Deadline deadline, IdleTask* task) {
    Descriptor socket = open_socket(address);
    const int error = connect_socket(socket.get(), address, deadline, task);
    if (error != 0) {
        throw Failure(connection_failure_code(error), strerror(error));
    }
    return socket;
}

Descriptor connect_from_root_port(const SocketAddress& address, Deadline deadline, IdleTask* task) {
    const unsigned start = std::random_device()();
    int error = 0;
    for (unsigned i = 0; i != root_ports; ++i) {
        Descriptor socket = open_socket(address);
        if (!bind_to_port(socket.get(), address.storage.ss_family, first_root_port + (start + i) % root_ports)) {
            error = errno;
            if (error == EADDRINUSE) {
                continue;
            }
            throw system_failure(error, "cannot use a source port below 1024", FailureCode::connection_failed);
        }
        error = connect_socket(socket.get(), address, deadline, task);
        if (error == 0) {
            return socket;
        }
        // A free port can still be unusable for this peer while an earlier connection lingers.
        if (error != EADDRINUSE && error != EADDRNOTAVAIL) {
            throw Failure(connection_failure_code(error), strerror(error));
        }
    }
    throw system_failure(error, "no source port from 512 to 1023 can be used", FailureCode::connection_failed);
}

// Unlike the log's text of an address, this one shows the interface of a link-local address.
std::string text_of(const SocketAddress& address) {
    std::array<char, NI_MAXHOST> text = {"?"};
    getnameinfo(address.get(), address.size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST);
    return text.data();
}

}  // namespace

Descriptor connect_to_host(const RemoteHost& host, std::chrono::seconds timeout, IdleTask* task) {
    const Deadline deadline = Clock::now() + timeout;
    const std::optional<Address> given = platform_library::parse_address(host.name);
    const std::vector<Address> addresses = given ? std::vector{*given} : look_up(host.name, timeout, task);
    std::string failures;
    std::set<FailureCode> codes;
    for (std::size_t i = 0; i != addresses.size(); ++i) {
        const SocketAddress address = socket_address(addresses[i], host.port);
        const Deadline share = Clock::now() + time_left(deadline) / (addresses.size() - i);
        try {
            return geteuid() == 0 ? connect_from_root_port(address, share, task)
                                  : connect_from_any_port(address, share, task);
        } catch (const Failure& failure) {
            failures += (failures.empty() ? "" : "; ") + text_of(address) + ": " + failure.what();
            codes.insert(failure.code());
        }
    }
    const FailureCode code = codes.size() == 1 ? *codes.begin() : FailureCode::connection_failed;
    throw Failure(code, "cannot connect to " + host.name + " port " + std::to_string(host.port) + ": " + failures,
                  codes.contains(FailureCode::connection_refused) ? FailureCode::connection_refused : code);
}
