#include "tests/request_command/silent_name_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "tests/support/test_files.h"

Descriptor start_silent_name_server() {
    constexpr std::uint16_t domain = 53;
    write_file("/etc/nsswitch.conf", "hosts: dns\n");
    write_file("/etc/resolv.conf", "nameserver 127.0.0.1\n");
    Descriptor server(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(domain);
    EXPECT_EQ(bind(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return server;
}
