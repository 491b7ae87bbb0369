// Framed values and whole requests, read from a socket.
//
// Input: a byte for the room that texts have and for what reads them, then what the peer sends before it closes.
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "agent/request_framing.h"
#include "platform/network.h"
#include "platform/posix.h"
#include "platform/status_codes.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"

namespace {

constexpr int timeout = 60;  // never waited for: the peer has closed
constexpr std::size_t longest_argument = 2047;
constexpr std::size_t most_length_digits = 10;

// The result of reading one value from the bytes.
struct Value {
    int error = 0;
    std::string text;
    std::size_t consumed = 0;
};

Value failure(int error, std::size_t consumed) {
    return {.error = error, .text = {}, .consumed = consumed};
}

// The rules of the reader, applied to bytes that have all arrived.
Value netstring_in(std::string_view bytes, std::size_t longest) {
    const std::size_t digits = std::min(bytes.find_first_not_of("0123456789"), bytes.size());
    if (digits >= 2 && bytes.front() == '0') {
        return failure(EPROTO, 2);
    }
    if (digits > most_length_digits) {
        return failure(EPROTO, most_length_digits + 1);
    }
    if (digits == bytes.size()) {
        return failure(ECONNRESET, bytes.size());
    }
    if (digits == 0 || bytes[digits] != ':') {
        return failure(EPROTO, digits + 1);
    }
    const std::size_t length = strtoul(std::string(bytes.substr(0, digits)).c_str(), nullptr, 10);
    const std::size_t start = digits + 1;
    if (length > longest) {
        return failure(EMSGSIZE, start);
    }
    if (bytes.size() - start <= length) {
        return failure(ECONNRESET, bytes.size());
    }
    const std::size_t consumed = start + length + 1;
    return bytes[consumed - 1] == ',' ? Value{0, std::string(bytes.substr(start, length)), consumed}
                                      : failure(EPROTO, consumed);
}

Value number_in(std::string_view bytes, long& number) {
    Value value = netstring_in(bytes, longest_argument);
    if (value.error != 0) {
        return value;
    }
    const std::size_t first_digit = value.text.starts_with('-') ? 1 : 0;
    if (value.text.size() == first_digit ||
        value.text.find_first_not_of("0123456789", first_digit) != std::string::npos) {
        return failure(EPROTO, value.consumed);
    }
    errno = 0;
    // 64 bits are read, and the low ones are kept where a long has fewer.
    number = static_cast<long>(strtoll(value.text.c_str(), nullptr, 10));
    return errno == ERANGE ? failure(ERANGE, value.consumed) : value;
}

Value text_in(std::string_view bytes, std::size_t longest) {
    Value value = netstring_in(bytes, longest);
    return value.text.find('\0') == std::string::npos ? value : failure(EILSEQ, value.consumed);
}

// A socket whose peer has sent the bytes and closed.
Descriptor socket_with(const std::string& bytes) {
    std::array<int, 2> ends{};
    INVARIANT(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0);
    const Descriptor peer(ends[1]);
    INVARIANT(write_all(peer.get(), bytes));
    return Descriptor(ends[0]);
}

std::size_t bytes_left(const Descriptor& socket) {
    int count = 0;
    INVARIANT(ioctl(socket.get(), FIONREAD, &count) == 0);
    return static_cast<std::size_t>(count);
}

void check_number(const Descriptor& socket, const Value& expected, long expected_number) {
    constexpr int untouched = -1;
    int error = untouched;
    const long number = get_long(socket.get(), timeout, &error);
    INVARIANT(error == (expected.error == 0 ? untouched : expected.error));
    INVARIANT(number == (expected.error == 0 ? expected_number : 0));
}

void check_text(const Descriptor& socket, const Value& expected, std::size_t room) {
    constexpr int untouched = -1;
    int error = untouched;
    // On the heap and exactly as large as announced, so that a sanitizer sees an overrun.
    const auto buffer = std::make_unique<char[]>(room + 1);
    const int result = get_string(socket.get(), buffer.get(), static_cast<int>(room), timeout, &error);
    INVARIANT(result == (expected.error == 0 ? 1 : -1));
    INVARIANT(error == (expected.error == 0 ? untouched : expected.error));
    INVARIANT(expected.text == buffer.get());
}

// A number and texts in turn, until one fails.
void check_values(const std::string& bytes, std::size_t room) {
    const Descriptor socket = socket_with(bytes);
    std::string_view left = bytes;
    for (bool is_number = true;; is_number = !is_number) {
        long number = 0;
        const Value expected = is_number ? number_in(left, number) : text_in(left, room);
        if (is_number) {
            check_number(socket, expected, number);
        } else {
            check_text(socket, expected, room);
        }
        left.remove_prefix(expected.consumed);
        INVARIANT(bytes_left(socket) == left.size());
        if (expected.error != 0) {
            return;
        }
    }
}

void check_request(const std::string& bytes) {
    const Descriptor socket = socket_with(bytes);
    std::string_view left = bytes;
    long announced = 0;
    Value value = number_in(left, announced);
    left.remove_prefix(value.consumed);
    const int count = value.error == 0 ? static_cast<int>(static_cast<unsigned>(announced)) : 0;
    RequestVector expected;
    for (int i = 0; i < count && value.error == 0; ++i) {
        value = text_in(left, longest_argument);
        left.remove_prefix(value.consumed);
        if (value.error == 0) {
            expected.push_back(value.text);
        }
    }
    RequestVector request;
    const int result = receive_inputs_from_client(socket.get(), request);
    const bool whole = count > 0 && value.error == 0;
    INVARIANT(result == (whole ? status::success : status::request_not_received));
    INVARIANT(request == expected);
    INVARIANT(bytes_left(socket) == left.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned choice = input.choice();
    const std::string bytes = input.rest();
    if (choice % 2 == 0) {
        check_request(bytes);
    } else {
        check_values(bytes, choice == UCHAR_MAX ? longest_argument : choice);
    }
    return 0;
}
