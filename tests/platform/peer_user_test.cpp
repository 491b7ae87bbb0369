// Peer verification: the user at the other end of a Unix-domain socket.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

#include "tests/platform/child_process.h"
#include "tests/platform/verified_peer.h"
#include "tests/platform/written_debug_log.h"
#include "tests/support/product_test.h"

namespace {

void write_process_file(const std::string& name, const std::string& text) {
    const Descriptor file(open(("/proc/self/" + name).c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.valid() || !write_all(file.get(), text)) {
        throw std::system_error(errno, std::generic_category(), name);
    }
}

// From here on this process and its peers are that user. With only one user its number changes.
void become_user(const std::string& user) {
    if (unshare(CLONE_NEWUSER) != 0) {
        throw std::system_error(errno, std::generic_category(), "user namespace");
    }
    write_process_file("uid_map", user + " 0 1");
}

// A connection through a socket in the file system.
ConnectedSockets connect_through(const std::string& path) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    strncpy(name.sun_path, path.c_str(), sizeof name.sun_path - 1);
    const auto* const address = reinterpret_cast<const sockaddr*>(&name);
    const Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ConnectedSockets connection;
    connection.peer_end.reset(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (bind(listener.get(), address, sizeof name) != 0 || listen(listener.get(), 1) != 0 ||
        connect(connection.peer_end.get(), address, sizeof name) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    connection.agent_end.reset(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    return connection;
}

}  // namespace

class LocalPeer : public ProductTest {
  protected:
    LocalPeer() { trust({"localhost"}); }
};

TEST_F(LocalPeer, IsRoot) {
    const ConnectedSockets connection = connect_locally();
    const VerifiedPeer peer = verify_peer(connection.agent_end.get());
    EXPECT_EQ(peer.flags, peer_flag::host_is_server | peer_flag::user_is_root);
    EXPECT_EQ(peer.user_type, operating_system_user);
}

TEST_F(LocalPeer, IsRootThroughASocketInTheFileSystem) {
    const ConnectedSockets connection = connect_through("/tmp/socket");
    EXPECT_EQ(logged_message([&] { verify_peer(connection.agent_end.get()); }),
              "<4> xnet_verify_peer_creds: H=local P=0 U=root F=0x42 UT=2");
}

TEST_F(LocalPeer, IsAnOrdinaryUserByNumber) {
    for (const char* user : {"1", "1000", "65533", "4294967294"}) {
        EXPECT_EQ(logged_message([&] {
                      become_user(user);
                      const ConnectedSockets connection = connect_locally();
                      const VerifiedPeer peer = verify_peer(connection.agent_end.get());
                      EXPECT_EQ(peer.status, 0);
                      EXPECT_EQ(peer.flags, peer_flag::host_is_server);
                      EXPECT_EQ(peer.user_type, operating_system_user);
                  }),
                  std::string("<4> xnet_verify_peer_creds: H=local P=0 U=") + user + " F=0x2 UT=2");
    }
}

// The kernel reports who created the socket, not who has it now. What the peer says does not count.
TEST_F(LocalPeer, IsTheOneWhoConnected) {
    const ConnectedSockets connection = connect_locally();
    ASSERT_EQ(send(connection.peer_end.get(), "I am root", 9, 0), 9);
    EXPECT_EQ(logged_message([&] {
                  become_user("1000");
                  verify_peer(connection.agent_end.get());
              }),
              "<4> xnet_verify_peer_creds: H=local P=0 U=1000 F=0x2 UT=2");
}
