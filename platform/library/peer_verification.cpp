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
    std::string host;  // as the log shows it
    std::string user;
    int port = 0;
    std::uint32_t flags = 0;
    std::uint32_t user_type = 0;
};

void set_user(Peer& peer, const std::string& user, std::uint32_t flags) {
    peer.user = user;
    peer.flags |= flags;
    peer.user_type = operating_system_user;
}

// On this host the kernel's word counts.
bool examine_local_peer(int socket, Deadline deadline, Peer& peer) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        return false;
    }
    peer.host = "local";
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

// Over the network a port below 1024 is the peer host's word that the user is root, for its kernel grants such a
// port to root alone. Any other port tells nothing about the user.
void examine_network_peer(const Address& address, int port, Deadline deadline, Peer& peer) {
    const auto& servers = platform_library::host_configuration().servers;
    peer.host = to_text(address);
    peer.port = port;
    const bool is_listed = platform_library::OwnAddresses().hold(address) ? names_this_host(servers, deadline)
                                                                          : names_address(servers, address, deadline);
    if (is_listed) {
        peer.flags |= peer_flag::host_is_server;
    }
    if (port < first_unreserved_port) {
        set_user(peer, "root", peer_flag::user_is_root);
    } else {
        peer.user = "unknown";
        peer.flags |= peer_flag::user_is_unknown;
    }
}

int port_of(const sockaddr_storage& name) {
    // The port stands at the same place in both families.
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
    if (address.family == AF_UNSPEC) {
        return false;
    }
    examine_network_peer(address, port_of(storage), deadline, peer);
    return true;
}

}  // namespace

int xnet_verify_peer_creds(int socket, std::uint32_t, int, std::uint32_t* flags, std::uint32_t* user_type, void*,
                           int timeout) {
    const Deadline deadline = Clock::now() + std::chrono::seconds(timeout);
    Peer peer;
    if (!examine_peer(socket, deadline, peer)) {
        return platform_library::status::peer_not_examined;
    }
    logmsgf(log_level::information, "xnet_verify_peer_creds", "H=%s P=%d U=%s F=0x%x UT=%u", peer.host.c_str(),
            peer.port, peer.user.c_str(), peer.flags, peer.user_type);
    *flags = peer.flags;
    *user_type = peer.user_type;
    return 0;
}
