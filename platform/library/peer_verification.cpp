#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>
#include <string>

#include "platform/library/configuration.h"
#include "platform/library/host_list.h"
#include "platform/library/statuses.h"
#include "platform/network.h"
#include "platform/runtime.h"

namespace {

using platform_library::Address;
using platform_library::names_address;
using platform_library::names_this_host;

constexpr int first_unreserved_port = 1024;

struct Peer {
    std::string host = "unknown";  // for the debug log
    std::string user = "unknown";
    int port = 0;
    std::uint32_t flags = 0;
    std::uint32_t user_type = 0;
};

void set_user(Peer& peer, const std::string& user, std::uint32_t flags) {
    peer.user = user;
    peer.flags |= flags;
    peer.user_type = operating_system_user;
}

// Returns a numeric option of the socket, or -1.
int option_of(int socket, int option) {
    int value = -1;
    socklen_t size = sizeof value;
    return getsockopt(socket, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

bool is_stream(int socket) {
    return option_of(socket, SO_TYPE) == SOCK_STREAM;
}

// TCP proves that the peer receives at its address. So does multipath TCP, whose first connection is examined. The peer
// of an SCTP stream can claim any address.
bool is_tcp(int socket) {
    const int protocol = option_of(socket, SO_PROTOCOL);
    return is_stream(socket) && (protocol == IPPROTO_TCP || protocol == IPPROTO_MPTCP);
}

// On this host the kernel reports the user.
bool examine_local_peer(int socket, Deadline deadline, Peer& peer) {
    peer.host = "local";
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (!is_stream(socket) || getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        return false;
    }
    if (names_this_host(platform_library::host_configuration().servers, deadline)) {
        peer.flags |= peer_flag::host_is_server;
    }
    if (credentials.uid == 0) {
        set_user(peer, "root", peer_flag::user_is_root);
    } else {
        set_user(peer, std::to_string(credentials.uid), 0);
    }
    return true;
}

// Over the network, a port below 1024 shows that the user is root, because the peer host's kernel gives such ports only
// to root. Any other port shows nothing about the user.
bool examine_network_peer(int socket, const Address& address, int port, Deadline deadline, Peer& peer) {
    peer.host = to_text(address);
    peer.port = port;
    if (!is_tcp(socket)) {
        return false;
    }
    const auto& servers = platform_library::host_configuration().servers;
    const bool is_listed = platform_library::OwnAddresses().hold(address) ? names_this_host(servers, deadline)
                                                                          : names_address(servers, address, deadline);
    if (is_listed) {
        peer.flags |= peer_flag::host_is_server;
    }
    if (port < first_unreserved_port) {
        set_user(peer, "root", peer_flag::user_is_root);
    } else {
        peer.flags |= peer_flag::user_is_unknown;
    }
    return true;
}

int port_of(const sockaddr_storage& name) {
    // The port is at the same offset in both families.
    sockaddr_in either{};
    memcpy(&either, &name, sizeof either);
    return ntohs(either.sin_port);
}

bool examine_peer(int socket, Deadline deadline, Peer& peer) {
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;
    auto* const name = reinterpret_cast<sockaddr*>(&storage);
    if (getpeername(socket, name, &size) != 0) {
        return false;
    }
    if (storage.ss_family == AF_UNIX) {
        return examine_local_peer(socket, deadline, peer);
    }
    const Address address = platform_library::address_of(name);
    return address.family != AF_UNSPEC && examine_network_peer(socket, address, port_of(storage), deadline, peer);
}

}  // namespace

int xnet_verify_peer_creds(int socket, std::uint32_t, int, std::uint32_t* flags, std::uint32_t* user_type, void*,
                           int timeout) {
    Peer peer;
    const bool is_examined = examine_peer(socket, Clock::now() + std::chrono::seconds(timeout), peer);
    logmsgf(log_level::information, "xnet_verify_peer_creds", "H=%s P=%d U=%s F=0x%x UT=%u", peer.host.c_str(),
            peer.port, peer.user.c_str(), peer.flags, peer.user_type);
    if (!is_examined) {
        return platform_library::status::peer_not_examined;
    }
    *flags = peer.flags;
    *user_type = peer.user_type;
    return 0;
}
