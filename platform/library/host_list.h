// Hosts: their addresses, and whether a list of hosts names one.
#pragma once

#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace platform_library {

// An IPv4 or IPv6 address. An IPv4 address mapped into IPv6 is the IPv4 address.
struct Address {
    int family = AF_UNSPEC;
    std::array<unsigned char, 16> bytes{};
    std::uint32_t scope = 0;  // interface of a link-local address, 0 when it is not told

    // Two link-local addresses are not one when both tell their interface and it is not the same.
    bool operator==(const Address& other) const {
        return family == other.family && bytes == other.bytes &&
               (scope == other.scope || scope == 0 || other.scope == 0);
    }
};

// Returns the address in a socket address, of no family when it holds none.
Address address_of(const sockaddr* name);

std::string to_text(const Address& address);

// Tells whether the address is a loopback one or one of this host's own.
bool is_own_address(const Address& address);

using Deadline = std::chrono::steady_clock::time_point;

// Tell whether some host of the list is this host, or has the address. Names are resolved to addresses, never the
// other way round, and only after no exact match and no address of the list has decided. What could not be looked up
// before the deadline does not count.
bool names_this_host(const std::vector<std::string>& hosts, Deadline deadline);
bool names_address(const std::vector<std::string>& hosts, const Address& address, Deadline deadline);

}  // namespace platform_library
