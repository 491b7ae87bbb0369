// Addresses of hosts.
#pragma once

#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
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

using AddressTest = std::function<bool(const Address&)>;

// Returns the address in a socket address, of no family when it holds none.
Address address_of(const sockaddr* name);

// Returns the address that is written in a form that inet_pton reads, and no other: older readers of addresses take
// "10.5" and "192.168.010.005" for something else than they look. "%" and an interface may follow a link-local address.
std::optional<Address> parse_address(const std::string& text);

// Returns the text of an address, without its interface.
std::string to_text(const Address& address);

// This host's addresses. They are asked for when they are first needed.
class OwnAddresses {
  public:
    // Tells whether the address is a loopback one or one of this host's own.
    bool hold(const Address& address);

  private:
    std::optional<std::vector<Address>> addresses_;
};

}  // namespace platform_library
