#include "tests/reliability/peers.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace {

using std::chrono::milliseconds;

// Only a hanging test waits that long.
constexpr milliseconds watchdog(60'000);

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void end(Peer& peer) {
    peer.ended = true;
    peer.end = std::chrono::steady_clock::now();
    peer.socket.reset();
}

void receive_some(Peer& peer) {
    static std::array<char, 65536> buffer;
    const ssize_t count = recv(peer.socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count > 0) {
        peer.answer.received.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0) {
        end(peer);
    } else if (errno == ECONNRESET) {
        peer.answer.broken = true;
        end(peer);
    } else if (errno != EAGAIN && errno != EINTR) {
        fail("receive");
    }
}

bool is_readable(int socket, milliseconds patience) {
    pollfd waited = {.fd = socket, .events = POLLIN, .revents = 0};
    return poll(&waited, 1, static_cast<int>(patience.count())) == 1;
}

// Returns the peers whose connections have not ended.
std::vector<Peer*> waiting(Peers& peers) {
    std::vector<Peer*> left;
    for (Peer& peer : peers) {
        if (!peer.ended) {
            left.push_back(&peer);
        }
    }
    return left;
}

// Receives what arrives for some of the peers. Returns whether anything arrived in time.
bool receive_round(const std::vector<Peer*>& peers, milliseconds patience) {
    std::vector<pollfd> waited;
    waited.reserve(peers.size());
    for (const Peer* peer : peers) {
        waited.push_back({.fd = peer->socket.get(), .events = POLLIN, .revents = 0});
    }
    const int count = poll(waited.data(), waited.size(), static_cast<int>(patience.count()));
    if (count == -1 && errno != EINTR) {
        fail("poll");
    }
    for (std::size_t i = 0; i < peers.size(); ++i) {
        if (waited[i].revents != 0) {
            receive_some(*peers[i]);
        }
    }
    return count != 0;
}

}  // namespace

void Peer::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EPIPE || errno == ECONNRESET) {
            return;
        } else if (errno != EINTR) {
            fail("send");
        }
    }
}

void Peer::reset() {
    const linger at_once = {.l_onoff = 1, .l_linger = 0};
    if (setsockopt(socket.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once) != 0) {
        fail("linger");
    }
    socket.reset();
}

bool Peer::has_answer() const {
    return is_readable(socket.get(), std::chrono::milliseconds::zero());
}

void Peer::await_answer() const {
    if (!is_readable(socket.get(), watchdog)) {
        throw std::runtime_error("a peer gets no answer");
    }
}

double Peer::milliseconds() const {
    return std::chrono::duration<double, std::milli>(end - start).count();
}

void await_answers(const Peers& peers) {
    for (const Peer& peer : peers) {
        peer.await_answer();
    }
}

void receive_all(Peers& peers) {
    for (std::vector<Peer*> left = waiting(peers); !left.empty(); left = waiting(peers)) {
        if (!receive_round(left, watchdog)) {
            throw std::runtime_error(std::to_string(left.size()) + " peers get no answer");
        }
    }
}

std::size_t receive_and_drip(Peers& peers, std::string_view text, milliseconds pause) {
    std::size_t sent = 0;
    for (std::vector<Peer*> left = waiting(peers); !left.empty(); left = waiting(peers)) {
        if (receive_round(left, pause)) {
            continue;
        }
        if (sent == text.size()) {
            throw std::runtime_error(std::to_string(left.size()) + " slow peers did not time out");
        }
        for (const Peer* peer : left) {
            peer->send(text.substr(sent, 1));
        }
        ++sent;
    }
    return sent;
}

int count_with_status(const Peers& peers, int status) {
    const auto has_status = [&](const Peer& peer) {
        return !peer.answer.broken && peer.answer.received.ends_with('\n') &&
               peer.answer.status_line().starts_with("EXIT STATUS " + std::to_string(status) + " ");
    };
    return static_cast<int>(std::count_if(peers.begin(), peers.end(), has_status));
}
