#include "request_command/connection.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>
#include <variant>

#include "platform/deadline.h"
#include "request_command/failure.h"
#include "request_command/local_agent.h"
#include "request_command/remote_host.h"

namespace {

sockaddr_un address_of(const LocalSocket& peer) {
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    peer.path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

// Limits the time of a blocking connect. A non-blocking connect fails when the listener's queue is full.
void set_connect_timeout(int fd, std::chrono::milliseconds left) {
    // A time-out of zero would mean none.
    left = std::max(left, std::chrono::milliseconds(1));
    const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
    const timeval timeout = {.tv_sec = seconds.count(), .tv_usec = std::chrono::microseconds(left - seconds).count()};
    if (setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout) == -1) {
        throw system_failure(errno, "cannot limit the time for connecting");
    }
}

Descriptor connect_to_socket(const LocalSocket& peer, std::chrono::seconds timeout, IdleTask* task) {
    const Deadline deadline = Clock::now() + timeout;
    const sockaddr_un address = address_of(peer);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.valid()) {
        throw system_failure(errno, "cannot make a socket");
    }
    int error = EINTR;
    while (error == EINTR || (error == EAGAIN && Clock::now() < deadline)) {
        set_connect_timeout(socket.get(), time_left(next_stop(deadline, task)));
        if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            return socket;
        }
        error = errno;
        run(task);
    }
    error = error == EAGAIN ? ETIMEDOUT : error;
    // A service that does not run has no socket file, or one that refuses connections.
    throw Failure(connection_failure_code(error), "cannot connect to " + peer.path + ": " + strerror(error),
                  connection_failure_code(error == ENOENT ? ECONNREFUSED : error));
}

}  // namespace

Connection connect_to(const Peer& peer, std::chrono::seconds timeout, IdleTask* task) {
    if (const auto* host = std::get_if<RemoteHost>(&peer)) {
        return {.agent = {}, .socket = connect_to_host(*host, timeout, task)};
    }
    if (const auto* socket = std::get_if<LocalSocket>(&peer)) {
        return {.agent = {}, .socket = connect_to_socket(*socket, timeout, task)};
    }
    return start_agent(std::get<AgentFile>(peer));
}
