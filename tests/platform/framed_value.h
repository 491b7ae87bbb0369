// Framed values between a peer and the library.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/posix.h"
#include "tests/platform/system_calls.h"
#include "tests/support/connected_sockets.h"

// The error number before a read. It shows whether a successful read changes it.
inline constexpr int untouched = 4711;

// More seconds than any successful read takes.
inline constexpr int plenty_of_time = 30;

inline constexpr int longest_string = 2047;

struct ReadNumber {
    long number = 0;
    int error = untouched;

    bool operator==(const ReadNumber&) const = default;
};

struct ReadString {
    int result = 0;
    std::string text;
    int error = untouched;

    bool operator==(const ReadString&) const = default;
};

std::ostream& operator<<(std::ostream& out, const ReadNumber& read);
std::ostream& operator<<(std::ostream& out, const ReadString& read);

// When a long has 32 bits, only the low ones are kept.
ReadNumber number_read(long long number);
ReadNumber number_refused(int error);
ReadString string_read(const std::string& text);
ReadString string_refused(int error);

ReadNumber read_number(int socket, int timeout = plenty_of_time);

// A failed read leaves an empty text. The test fails when the library writes beyond the buffer.
ReadString read_string(int socket, int max_length = longest_string, int timeout = plenty_of_time);

// Returns a text of this many bytes.
std::string repeated(char byte, std::size_t count);

// Returns the text as a netstring.
std::string framed(const std::string& text);

// A connection with the library at its other end.
class FramingTest : public testing::Test {
  protected:
    FramingTest();
    ~FramingTest() override;

    void send(const std::string& text) const;
    void close_peer() { ends_.peer_end.reset(); }
    [[nodiscard]] int socket() const { return ends_.agent_end.get(); }

    // Returns what was sent and not read.
    [[nodiscard]] std::string unread() const;

    // Makes a new connection over which the text is sent.
    void connect_and_send(const std::string& text);

    ConnectedSockets ends_;
};
