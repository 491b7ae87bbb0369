#include "platform/library/host_list.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <string_view>

#include "platform/library/hosts_file.h"
#include "platform/library/name_lookup.h"

namespace platform_library {

namespace {

using Hosts = std::vector<std::string>;

bool is_same_name(std::string_view one, std::string_view other) {
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

bool hold(const Hosts& names, std::string_view name) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& other) { return is_same_name(name, other); });
}

// Returns whether `host` is "localhost" or this host's name, whole or only its first label.
bool is_own_name(const std::string& host) {
    if (is_same_name(host, "localhost")) {
        return true;
    }
    std::array<char, HOST_NAME_MAX + 1> name{};
    if (gethostname(name.data(), name.size()) != 0) {
        return false;
    }
    const std::string_view whole = name.data();
    return !host.empty() && (is_same_name(host, whole) || is_same_name(host, whole.substr(0, whole.find('.'))));
}

// Returns whether one of the names has an address in /etc/hosts that passes the test. Removes the names found there.
bool hosts_file_has(Hosts& names, const AddressTest& test) {
    Hosts found;
    const bool passes = any_in_hosts_file([&](std::string_view name, const Address& address) {
        if (!hold(names, name)) {
            return false;
        }
        found.emplace_back(name);
        return test(address);
    });
    std::erase_if(names, [&](const std::string& name) { return hold(found, name); });
    return passes;
}

// Tries the addresses in the list first, then /etc/hosts, so that a name server that does not answer delays only those
// who need it.
bool any_host_has(const Hosts& hosts, Deadline deadline, const AddressTest& test) {
    Hosts names;
    for (const std::string& host : hosts) {
        if (const auto address = parse_address(host)) {
            if (test(*address)) {
                return true;
            }
        } else if (is_host_name(host)) {
            names.push_back(host);
        }
    }
    if (names.empty() || Clock::now() >= deadline) {
        return false;
    }
    if (hosts_file_has(names, test)) {
        return true;
    }
    std::erase_if(names, is_own_name);
    return look_up(names, deadline, test) == LookUpEnd::stopped;
}

}  // namespace

bool names_this_host(const Hosts& hosts, Deadline deadline) {
    OwnAddresses own;
    return std::any_of(hosts.begin(), hosts.end(), is_own_name) ||
           any_host_has(hosts, deadline, [&](const Address& address) { return own.hold(address); });
}

bool names_address(const Hosts& hosts, const Address& address, Deadline deadline) {
    return any_host_has(hosts, deadline, [&](const Address& other) { return other == address; });
}

}  // namespace platform_library
