#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>

#include "platform/library/configuration.h"
#include "platform/library/numbers.h"
#include "platform/network.h"

namespace {

using std::chrono::steady_clock;

constexpr std::size_t longest_number = 2047;
constexpr int most_length_digits = 10;
constexpr std::size_t longest_prefix = most_length_digits + 1;

// A netstring's length and colon.
class NetstringPrefix {
  public:
    enum class State { incomplete, complete, malformed };

    // Takes bytes up to the colon, or up to the first byte that is not valid there. Returns the number of bytes taken.
    std::size_t take(std::string_view bytes) {
        std::size_t taken = 0;
        while (taken < bytes.size() && state_ == State::incomplete) {
            take(bytes[taken++]);
        }
        return taken;
    }

    [[nodiscard]] State state() const { return state_; }
    // The ten digits that it may have are too many for 32 bits.
    [[nodiscard]] unsigned long long length() const { return length_; }

  private:
    void take(char byte) {
        const bool leading_zero = digits_ == 1 && length_ == 0;
        if (byte == ':' && digits_ > 0) {
            state_ = State::complete;
        } else if (byte < '0' || byte > '9' || leading_zero || digits_ == most_length_digits) {
            state_ = State::malformed;
        } else {
            length_ = length_ * 10 + static_cast<unsigned long long>(byte - '0');
            ++digits_;
        }
    }

    State state_ = State::incomplete;
    unsigned long long length_ = 0;
    int digits_ = 0;
};

// Reads one value before its deadline, and no byte after it. The steps return 0 or an error number.
class ValueReader {
  public:
    ValueReader(int socket, int timeout)
        : socket_(socket), deadline_(steady_clock::now() + std::chrono::seconds(timeout)) {}

    // Reads a netstring of at most `longest` bytes into `text`, which has room for one more: the comma.
    int read_netstring(char* text, std::size_t longest, std::size_t& length) {
        NetstringPrefix prefix;
        std::size_t seen = 0;
        if (const int error = look_at_prefix(prefix, seen)) {
            return error;
        }
        const bool is_malformed = prefix.state() == NetstringPrefix::State::malformed;
        if (is_malformed || prefix.length() > longest) {
            const int error = pass_over(seen);
            return error != 0 ? error : is_malformed ? EPROTO : EMSGSIZE;
        }
        length = static_cast<std::size_t>(prefix.length());
        if (const int error = take_text(seen, text, length + 1, longest + 1)) {
            return error;
        }
        return text[length] == ',' ? 0 : EPROTO;
    }

  private:
    // Peeks at the bytes on the socket, because those after the value belong to another reader. Leaves the last `seen`
    // bytes of the prefix on the socket; the caller takes them together with the text. Takes digits that came without
    // the colon: left on the socket, they would keep it readable, and the wait for more bytes would end at once.
    int look_at_prefix(NetstringPrefix& prefix, std::size_t& seen) const {
        for (;;) {
            std::array<char, longest_prefix> bytes;
            std::size_t count = 0;
            if (const int error = receive(bytes.data(), bytes.size(), MSG_PEEK, count)) {
                return error;
            }
            seen = prefix.take({bytes.data(), count});
            if (prefix.state() != NetstringPrefix::State::incomplete) {
                return 0;
            }
            if (const int error = pass_over(seen)) {
                return error;
            }
        }
    }

    // Takes `seen` bytes of the prefix, and the `size` bytes of text after them: in one call where `text` has room for
    // both.
    int take_text(std::size_t seen, char* text, std::size_t size, std::size_t room) const {
        if (seen + size > room) {
            const int error = pass_over(seen);
            return error != 0 ? error : take(text, size);
        }
        if (const int error = take(text, seen + size)) {
            return error;
        }
        memmove(text, text + seen, size);
        return 0;
    }

    int pass_over(std::size_t seen) const {
        std::array<char, longest_prefix> bytes;
        return take(bytes.data(), seen);
    }

    int take(char* bytes, std::size_t size) const {
        while (size > 0) {
            std::size_t count = 0;
            if (const int error = receive(bytes, size, 0, count)) {
                return error;
            }
            bytes += count;
            size -= count;
        }
        return 0;
    }

    // Receives at least one byte.
    int receive(char* bytes, std::size_t size, int flags, std::size_t& count) const {
        for (;;) {
            const ssize_t received = recv(socket_, bytes, size, flags | MSG_DONTWAIT);
            if (received > 0) {
                count = static_cast<std::size_t>(received);
                return 0;
            }
            if (received == 0) {
                return ECONNRESET;
            }
            if (errno == EAGAIN) {
                if (const int error = wait_readable()) {
                    return error;
                }
            } else if (errno != EINTR) {
                return errno;
            }
        }
    }

    int wait_readable() const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - steady_clock::now()).count();
        if (left <= 0) {
            return ETIMEDOUT;
        }
        pollfd readable = {.fd = socket_, .events = POLLIN, .revents = 0};
        // The next read or the deadline shows whether the socket is readable, closed, or the wait was interrupted.
        return poll(&readable, 1, static_cast<int>(left)) == -1 && errno != EINTR ? errno : 0;
    }

    int socket_;
    steady_clock::time_point deadline_;
};

}  // namespace

int xnet_get_max_timeout() {
    return platform_library::host_configuration().network_timeout;
}

long get_long(int socket, int timeout, int* error) {
    std::array<char, longest_number + 1> text;
    std::size_t length = 0;
    int failure = ValueReader(socket, timeout).read_netstring(text.data(), longest_number, length);
    long long number = 0;
    if (failure == 0) {
        const std::errc parsed = platform_library::parse_number(std::string_view(text.data(), length), number);
        failure = parsed == std::errc() ? 0 : parsed == std::errc::result_out_of_range ? ERANGE : EPROTO;
    }
    if (failure != 0) {
        *error = failure;
        return 0;
    }
    return static_cast<long>(number);
}

int get_string(int socket, char* buffer, int max_length, int timeout, int* error) {
    std::size_t length = 0;
    int failure = ValueReader(socket, timeout).read_netstring(buffer, static_cast<std::size_t>(max_length), length);
    if (failure == 0 && memchr(buffer, '\0', length) != nullptr) {
        failure = EILSEQ;
    }
    if (failure != 0) {
        buffer[0] = '\0';
        *error = failure;
        return -1;
    }
    buffer[length] = '\0';
    return 1;
}
