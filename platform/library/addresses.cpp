#include "platform/library/addresses.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "platform/library/numbers.h"

namespace platform_library {

namespace {

constexpr unsigned char loopback_net = 127;

bool is_loopback(const Address& address) {
    if (address.family == AF_INET) {
        return address.bytes[0] == loopback_net;
    }
    return address.family == AF_INET6 && memcmp(address.bytes.data(), &in6addr_loopback, sizeof in6addr_loopback) == 0;
}

std::vector<Address> interface_addresses() {
    std::vector<Address> addresses;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return addresses;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    for (const ifaddrs* item = list; item != nullptr; item = item->ifa_next) {
        const Address address = item->ifa_addr == nullptr ? Address() : address_of(item->ifa_addr);
        // Skips interfaces without an IP address. Otherwise every address of no family would count as this host's own.
        if (address.family != AF_UNSPEC) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

// Returns the number of the interface of this name or number, or 0.
std::uint32_t interface_of(const std::string& text) {
    std::uint32_t number = if_nametoindex(text.c_str());
    return number != 0 || parse_number(text, number) == std::errc() ? number : 0;
}

std::optional<Address> parse_ipv6(const std::string& text) {
    sockaddr_in6 name{};
    name.sin6_family = AF_INET6;
    const std::size_t percent = text.find('%');
    if (inet_pton(AF_INET6, text.substr(0, percent).c_str(), &name.sin6_addr) != 1) {
        return std::nullopt;
    }
    if (percent != std::string::npos) {
        name.sin6_scope_id = IN6_IS_ADDR_LINKLOCAL(&name.sin6_addr) ? interface_of(text.substr(percent + 1)) : 0;
        if (name.sin6_scope_id == 0) {
            return std::nullopt;
        }
    }
    return address_of(reinterpret_cast<const sockaddr*>(&name));
}

}  // namespace

Address address_of(const sockaddr* name) {
    Address address;
    if (name->sa_family == AF_INET) {
        sockaddr_in ipv4{};
        memcpy(&ipv4, name, sizeof ipv4);
        address.family = AF_INET;
        memcpy(address.bytes.data(), &ipv4.sin_addr, sizeof ipv4.sin_addr);
    } else if (name->sa_family == AF_INET6) {
        sockaddr_in6 ipv6{};
        memcpy(&ipv6, name, sizeof ipv6);
        const unsigned char* bytes = ipv6.sin6_addr.s6_addr;
        if (IN6_IS_ADDR_V4MAPPED(&ipv6.sin6_addr)) {
            constexpr int mapped_offset = 12;
            address.family = AF_INET;
            memcpy(address.bytes.data(), bytes + mapped_offset, sizeof(in_addr));
        } else {
            address.family = AF_INET6;
            memcpy(address.bytes.data(), bytes, address.bytes.size());
            address.scope = ipv6.sin6_scope_id;
        }
    }
    return address;
}

std::optional<Address> parse_address(const std::string& text) {
    // inet_pton would ignore everything after a zero byte.
    if (text.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    sockaddr_in name{};
    name.sin_family = AF_INET;
    if (inet_pton(AF_INET, text.c_str(), &name.sin_addr) == 1) {
        return address_of(reinterpret_cast<const sockaddr*>(&name));
    }
    return parse_ipv6(text);
}

std::string to_text(const Address& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(address.family, address.bytes.data(), text.data(), text.size());
    return text.data();
}

bool OwnAddresses::hold(const Address& address) {
    if (is_loopback(address)) {
        return true;
    }
    if (!addresses_) {
        addresses_ = interface_addresses();
    }
    return std::find(addresses_->begin(), addresses_->end(), address) != addresses_->end();
}

}  // namespace platform_library
