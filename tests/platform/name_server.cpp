#include "tests/platform/name_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>
#include <string_view>
#include <system_error>

#include "tests/support/test_files.h"

namespace {

constexpr int name_service = 53;
constexpr std::size_t head_size = 12;
constexpr unsigned char pointer_type = 12;
// The query that ends the server.
constexpr std::string_view stop = "stop";

void check(long result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

// Returns the address of a name server; the first is 127.0.0.1.
sockaddr_in server_address(unsigned number = 0) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(name_service);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + number);
    return address;
}

Descriptor server_socket(unsigned number = 0) {
    const sockaddr_in address = server_address(number);
    Descriptor server(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    check(bind(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind the name service");
    return server;
}

struct Question {
    std::string name;
    std::size_t end = head_size;  // in the message
    bool for_a_name = false;
};

// The name consists of labels, each preceded by its length. Type and class follow.
Question parse_question(const std::string& message) {
    Question question;
    while (question.end < message.size() && message[question.end] != '\0') {
        const auto length = static_cast<unsigned char>(message[question.end]);
        question.name += message.substr(question.end + 1, length) + ".";
        question.end += 1 + length;
    }
    question.for_a_name = message.at(question.end + 2) == pointer_type;
    question.end += 5;
    return question;
}

std::string encode_name(const std::string& name) {
    std::string encoded;
    for (std::size_t start = 0; start < name.size();) {
        const std::size_t end = std::min(name.find('.', start), name.size());
        encoded += static_cast<char>(end - start);
        encoded += name.substr(start, end - start);
        start = end + 1;
    }
    return encoded + '\0';
}

// Returns the question with one answer when it asks for a name, and with "no such name" otherwise.
std::string answer_to(const std::string& message, const Question& question, const std::string& name) {
    using namespace std::string_literals;
    const std::string identity = message.substr(0, 2);
    const std::string asked = message.substr(head_size, question.end - head_size);
    if (!question.for_a_name) {
        return identity + "\x85\x83\0\x01\0\0\0\0\0\0"s + asked;
    }
    const std::string encoded = encode_name(name);
    return identity + "\x85\x80\0\x01\0\x01\0\0\0\0"s + asked + "\xc0\x0c\0\x0c\0\x01\0\0\0\x3c\0"s +
           static_cast<char>(encoded.size()) + encoded;
}

void serve(int socket, int told, const std::string& name) {
    std::array<char, 1024> buffer{};
    for (;;) {
        sockaddr_storage client{};
        socklen_t size = sizeof client;
        auto* const address = reinterpret_cast<sockaddr*>(&client);
        const ssize_t count = recvfrom(socket, buffer.data(), buffer.size(), 0, address, &size);
        check(count, "question");
        const std::string message(buffer.data(), static_cast<std::size_t>(count));
        if (message == stop) {
            return;
        }
        const Question question = parse_question(message);
        write_all(told, (question.for_a_name ? "name " : "address ") + question.name + "\n");
        const std::string answer = answer_to(message, question, name);
        check(sendto(socket, answer.data(), answer.size(), 0, address, size), "answer");
    }
}

}  // namespace

NameServer::NameServer(const std::string& name_of_every_address) : socket_(server_socket()) {
    int pipe_ends[2] = {-1, -1};
    check(pipe2(pipe_ends, O_CLOEXEC), "pipe");
    told_.reset(pipe_ends[0]);
    const Descriptor telling(pipe_ends[1]);
    process_ = std::make_unique<ChildProcess>([&] { serve(socket_.get(), telling.get(), name_of_every_address); });
}

// The stop is a query of its own, so all earlier queries have been recorded.
std::vector<std::string> NameServer::questions() {
    const Descriptor client(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = server_address();
    check(
        sendto(client.get(), stop.data(), stop.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address),
        "stop the name server");
    process_->wait();
    std::string text;
    read_all(told_.get(), text);
    std::set<std::string> asked;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        asked.insert(text.substr(start, end - start));
        start = end + 1;
    }
    return {asked.begin(), asked.end()};
}

SilentNameServers::SilentNameServers() {
    constexpr unsigned servers = 3;
    std::string configuration = "options timeout:30 attempts:3\n";
    for (unsigned number = 0; number != servers; ++number) {
        sockets_.push_back(server_socket(number));
        configuration += "nameserver 127.0.0." + std::to_string(number + 1) + "\n";
    }
    write_file("/etc/resolv.conf", configuration);
}

SilentNameServers::~SilentNameServers() {
    write_file("/etc/resolv.conf", "# no name server\n");
}

bool SilentNameServers::were_asked() const {
    return std::any_of(sockets_.begin(), sockets_.end(), [](const Descriptor& server) {
        char byte = 0;
        return recv(server.get(), &byte, 1, MSG_DONTWAIT) == 1;
    });
}
