#include "request_command/exchange.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "platform/library/netstring.h"
#include "request_command/failure.h"

namespace {

// Returns whether a failed send or recv can be retried.
bool is_temporary(int error) {
    return error == EAGAIN || error == EINTR;
}

// Waits until there is something to receive or, when `sending`, until something can be sent. Returns poll's events.
short wait_for(int socket, bool sending, WaitingLine* waiting) {
    pollfd entry = {.fd = socket, .events = POLLIN, .revents = 0};
    if (sending) {
        entry.events |= POLLOUT;
    }
    for (;;) {
        const auto time = waiting == nullptr ? std::chrono::milliseconds(-1) : time_left(waiting->due());
        const int ready = poll(&entry, 1, static_cast<int>(time.count()));
        if (ready > 0) {
            return entry.revents;
        }
        if (ready == -1 && errno != EINTR) {
            throw system_failure(errno, "cannot wait for the answer");
        }
        run(waiting);
    }
}

// Sends as much of the request as possible without waiting, and removes it from `request`. Returns 0 or an error
// number.
int send_some(int socket, std::string_view& request) {
    const ssize_t count = send(socket, request.data(), request.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count == -1) {
        return is_temporary(errno) ? 0 : errno;
    }
    request.remove_prefix(static_cast<std::size_t>(count));
    return 0;
}

}  // namespace

std::string encode_request(const std::vector<std::string>& request) {
    std::string encoded = platform_library::netstring(std::to_string(request.size()));
    for (const std::string& text : request) {
        encoded += platform_library::netstring(text);
    }
    return encoded;
}

int exchange(int socket, std::string_view request, AnswerSplitter& splitter, WaitingLine* waiting) {
    std::array<char, 65536> buffer;
    int send_error = 0;
    for (;;) {
        const short ready = wait_for(socket, !request.empty(), waiting);
        if ((ready & POLLOUT) != 0) {
            send_error = send_some(socket, request);
            if (send_error != 0) {
                request = {};
            }
        }
        if ((ready & ~POLLOUT) == 0) {
            continue;
        }
        const ssize_t count = recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count > 0) {
            const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
            if (waiting != nullptr) {
                waiting->count(bytes, Clock::now());
            }
            splitter.take(bytes);
        } else if (count == 0) {
            return send_error;
        } else if (!is_temporary(errno)) {
            return errno;
        }
    }
}
