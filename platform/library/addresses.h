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
    std::uint32_t scope = 0;  // interface of a link-local address, or 0 when it is not known

    // Two link-local addresses differ when the interfaces of both are known and differ.
    bool operator==(const Address& other) const {
        return family == other.family && bytes == other.bytes &&
               (scope == other.scope || scope == 0 || other.scope == 0);
    }
};

using AddressTest = std::function<bool(const Address&)>;

// Returns the address in a socket address, or one of family AF_UNSPEC when that has no IP address.
Address address_of(const sockaddr* name);

// Reads an address in the forms that inet_pton accepts. Other forms are rejected, because older parsers read
// "10.5" and "192.168.010.005" as unexpected addresses. A link-local address may be followed by "%" and an interface.
std::optional<Address> parse_address(const std::string& text);

// Returns the text of an address, without its interface.
std::string to_text(const Address& address);

// This host's addresses. The first call that needs them asks the system.
class OwnAddresses {
  public:
    // Returns whether the address is a loopback address or one of this host's own.
    bool hold(const Address& address);

  private:
    std::optional<std::vector<Address>> addresses_;
};

}  // namespace platform_library
