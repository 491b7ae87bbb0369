#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "platform/library/configuration.h"
#include "platform/library/numbers.h"
#include "platform/network.h"

namespace {

using std::chrono::steady_clock;

constexpr std::size_t longest_number = 2047;
constexpr int most_length_digits = 10;

// Reads one value within its time, byte for byte what belongs to it. The steps return 0 or an error number.
class ValueReader {
  public:
    ValueReader(int socket, int timeout)
        : socket_(socket), deadline_(steady_clock::now() + std::chrono::seconds(timeout)) {}

    // Reads a netstring of at most `longest` bytes into `text`, which has room for one more: the comma.
    int read_netstring(char* text, std::size_t longest, std::size_t& length) {
        if (const int error = read_length(longest, length)) {
            return error;
        }
        if (const int error = read_exactly(text, length + 1)) {
            return error;
        }
        return text[length] == ',' ? 0 : EPROTO;
    }

  private:
    // Takes the digits one by one: to read more at once could take bytes that are somebody else's.
    int read_length(std::size_t longest, std::size_t& length) {
        unsigned long long announced = 0;  // holds ten digits, which a size may not
        for (int digits = 0;; ++digits) {
            char byte = 0;
            if (const int error = read_exactly(&byte, 1)) {
                return error;
            }
            if (byte == ':' && digits > 0) {
                break;
            }
            const bool leading_zero = digits == 1 && announced == 0;
            if (byte < '0' || byte > '9' || leading_zero || digits == most_length_digits) {
                return EPROTO;
            }
            announced = announced * 10 + static_cast<unsigned long long>(byte - '0');
        }
        length = static_cast<std::size_t>(announced);
        return announced > longest ? EMSGSIZE : 0;
    }

    int read_exactly(char* buffer, std::size_t size) {
        while (size > 0) {
            const ssize_t count = recv(socket_, buffer, size, MSG_DONTWAIT);
            if (count > 0) {
                buffer += count;
                size -= static_cast<std::size_t>(count);
            } else if (count == 0) {
                return ECONNRESET;
            } else if (errno == EAGAIN) {
                if (const int error = wait_readable()) {
                    return error;
                }
            } else if (errno != EINTR) {
                return errno;
            }
        }
        return 0;
    }

    int wait_readable() const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - steady_clock::now()).count();
        if (left <= 0) {
            return ETIMEDOUT;
        }
        pollfd readable = {.fd = socket_, .events = POLLIN, .revents = 0};
        // Whether it became readable, ended or was interrupted, the next read or the deadline tells.
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
