#include "tests/support/agent_connection.h"

#include <sys/socket.h>

#include <array>
#include <stdexcept>

namespace {

std::string take_all(int socket) {
    std::string text;
    std::array<char, 16384> buffer{};
    for (;;) {
        // Not `recv`, which tests make fail.
        const ssize_t count = recvfrom(socket, buffer.data(), buffer.size(), MSG_DONTWAIT, nullptr, nullptr);
        if (count <= 0) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

}  // namespace

AgentConnection::AgentConnection() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("socketpair");
    }
    agent_.reset(ends[0]);
    peer_.reset(ends[1]);
}

void AgentConnection::peer_sends(const std::string& text) {
    if (!write_all(peer_.get(), text)) {
        throw std::runtime_error("the peer could not send");
    }
}

std::string AgentConnection::received() {
    return take_all(peer_.get());
}

std::string AgentConnection::left_for_agent() {
    return take_all(agent_.get());
}
