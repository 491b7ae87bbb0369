#include "platform/library/host_list.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <string_view>

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
        // An interface without an IP address would make every address of no family this host's own.
        if (address.family != AF_UNSPEC) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

// Returns the addresses of a host. `flags` is AI_NUMERICHOST for a host that is written as an address, and then
// nothing is looked up, or 0.
std::vector<Address> resolve(const std::string& host, int flags) {
    addrinfo hints{};
    hints.ai_flags = flags;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    std::vector<Address> addresses;
    // A zero byte would hide what follows it from the resolver.
    if (host.empty() || host.find('\0') != std::string::npos ||
        getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0) {
        return addresses;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(list, freeaddrinfo);
    for (const addrinfo* item = list; item != nullptr; item = item->ai_next) {
        addresses.push_back(address_of(item->ai_addr));
    }
    return addresses;
}

// The name of this host, whole or its first label; "localhost" alone where the system does not tell it.
bool is_own_name(const std::string& host) {
    std::array<char, HOST_NAME_MAX + 1> name{};
    if (gethostname(name.data(), name.size()) != 0) {
        name[0] = '\0';
    }
    const std::string_view whole = name.data();
    const std::string_view first_label = whole.substr(0, whole.find('.'));
    const auto is = [&](std::string_view own) {
        return !own.empty() && host.size() == own.size() && strncasecmp(host.c_str(), own.data(), own.size()) == 0;
    };
    return is("localhost") || is(whole) || is(first_label);
}

using AddressTest = std::function<bool(const Address&)>;

// Tries the hosts that are written as addresses first, so that a name server that does not answer keeps nobody
// waiting who needs none; and looks up no further name after the deadline.
bool any_host_has(const std::vector<std::string>& hosts, Deadline deadline, const AddressTest& test) {
    std::vector<std::string> names;
    for (const std::string& host : hosts) {
        const std::vector<Address> addresses = resolve(host, AI_NUMERICHOST);
        if (std::any_of(addresses.begin(), addresses.end(), test)) {
            return true;
        }
        if (addresses.empty()) {
            names.push_back(host);
        }
    }
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        if (Deadline::clock::now() >= deadline) {
            return false;
        }
        const std::vector<Address> addresses = resolve(name, 0);
        return std::any_of(addresses.begin(), addresses.end(), test);
    });
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

std::string to_text(const Address& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(address.family, address.bytes.data(), text.data(), text.size());
    return text.data();
}

bool is_own_address(const Address& address) {
    if (is_loopback(address)) {
        return true;
    }
    const std::vector<Address> own = interface_addresses();
    return std::find(own.begin(), own.end(), address) != own.end();
}

bool names_this_host(const std::vector<std::string>& hosts, Deadline deadline) {
    return std::any_of(hosts.begin(), hosts.end(), is_own_name) || any_host_has(hosts, deadline, is_own_address);
}

bool names_address(const std::vector<std::string>& hosts, const Address& address, Deadline deadline) {
    return any_host_has(hosts, deadline, [&](const Address& other) { return other == address; });
}

}  // namespace platform_library
