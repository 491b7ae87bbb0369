// The results of peer verification.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/main_configuration.h"
#include "platform/network.h"
#include "tests/support/connected_sockets.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

struct VerifiedPeer {
    int status = -1;
    std::uint32_t flags = 0;
    std::uint32_t user_type = 0;
};

inline constexpr std::uint32_t service_tag = 0x5A4D4C41;

inline VerifiedPeer verify_peer(int socket, int timeout = 60) {
    VerifiedPeer peer;
    peer.status = xnet_verify_peer_creds(socket, service_tag, 1, &peer.flags, &peer.user_type, nullptr, timeout);
    return peer;
}

// Sets the list of trusted hosts.
inline void trust(const std::vector<std::string>& hosts) {
    std::string text;
    for (const std::string& host : hosts) {
        text += "SERVER = " + host + "\n";
    }
    write_file(main_configuration, text);
    static_cast<void>(ZM_read_master_config());
}

// Returns whether the peer is on a trusted host. The test fails when the connection cannot be examined.
inline bool is_trusted(int socket, int timeout = 60) {
    const VerifiedPeer peer = verify_peer(socket, timeout);
    EXPECT_EQ(peer.status, 0);
    return (peer.flags & peer_flag::host_is_server) != 0;
}
