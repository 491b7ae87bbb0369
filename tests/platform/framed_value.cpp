#include "tests/platform/framed_value.h"

#include <sys/socket.h>

#include <array>
#include <cstring>
#include <ostream>
#include <stdexcept>
#include <vector>

#include "platform/network.h"

std::ostream& operator<<(std::ostream& out, const ReadNumber& read) {
    return out << "number " << read.number << ", error " << read.error;
}

std::ostream& operator<<(std::ostream& out, const ReadString& read) {
    return out << "result " << read.result << ", " << read.text.size() << " bytes \"" << read.text.substr(0, 100)
               << "\", error " << read.error;
}

ReadNumber number_read(long long number) {
    return {static_cast<long>(number), untouched};
}

ReadNumber number_refused(int error) {
    return {0, error};
}

ReadString string_read(const std::string& text) {
    return {1, text, untouched};
}

ReadString string_refused(int error) {
    return {-1, "", error};
}

ReadNumber read_number(int socket, int timeout) {
    ReadNumber read;
    read.number = get_long(socket, timeout, &read.error);
    return read;
}

ReadString read_string(int socket, int max_length, int timeout) {
    constexpr std::size_t margin = 64;
    constexpr char filling = '\x5a';
    const std::size_t room = static_cast<std::size_t>(max_length) + 1;
    std::vector<char> buffer(room + margin, filling);
    ReadString read;
    read.result = get_string(socket, buffer.data(), max_length, timeout, &read.error);
    EXPECT_EQ(std::string(buffer.data() + room, margin), std::string(margin, filling));
    read.text.assign(buffer.data(), strnlen(buffer.data(), buffer.size()));
    return read;
}

std::string repeated(char byte, std::size_t count) {
    std::string text;
    text.resize(count, byte);
    return text;
}

std::string framed(const std::string& text) {
    return std::to_string(text.size()) + ":" + text + ",";
}

FramingTest::FramingTest() : ends_(connect_locally()) {
    system_calls::reset();
}

FramingTest::~FramingTest() {
    system_calls::reset();
}

void FramingTest::send(const std::string& text) const {
    if (::send(ends_.peer_end.get(), text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("the peer could not send");
    }
}

std::string FramingTest::unread() const {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count = recv(socket(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count <= 0) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

void FramingTest::connect_and_send(const std::string& text) {
    ends_ = connect_locally();
    send(text);
}
