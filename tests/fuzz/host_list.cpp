// Lists of trusted hosts and addresses. Names are not looked up, because the time for that is zero.
//
// Input: a byte for the family (and the forms that the address is given in), sixteen for the address, one for the
// interface, then one host a line.
#include "platform/library/host_list.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/scratch_file.h"

namespace {

using platform_library::Address;
using platform_library::address_of;

using platform_library::names_address;
using platform_library::names_this_host;

using Hosts = std::vector<std::string>;
using Bytes = std::array<unsigned char, 16>;

constexpr Deadline over{};

Address ipv4(const unsigned char* bytes) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    memcpy(&name.sin_addr, bytes, sizeof name.sin_addr);
    return address_of(reinterpret_cast<const sockaddr*>(&name));
}

Address ipv6(const Bytes& bytes, unsigned scope) {
    sockaddr_in6 name{};
    name.sin6_family = AF_INET6;
    memcpy(&name.sin6_addr, bytes.data(), bytes.size());
    name.sin6_scope_id = scope;
    return address_of(reinterpret_cast<const sockaddr*>(&name));
}

Address mapped(const Bytes& bytes) {
    Bytes whole{};
    whole[10] = whole[11] = 0xFF;
    std::copy_n(bytes.begin(), 4, whole.begin() + 12);
    return ipv6(whole, 0);
}

// Returns whether the host is this address in the usual form, which every reader of addresses understands.
bool is_written_as(const std::string& host, const Address& address) {
    in_addr four{};
    if (inet_pton(AF_INET, host.c_str(), &four) == 1) {
        return ipv4(reinterpret_cast<const unsigned char*>(&four)) == address;
    }
    Bytes six{};
    return inet_pton(AF_INET6, host.substr(0, host.find('%')).c_str(), six.data()) == 1 && ipv6(six, 0) == address;
}

bool is_name_of_this_host(const std::string& host) {
    std::array<char, HOST_NAME_MAX + 1> name{};
    INVARIANT(gethostname(name.data(), name.size()) == 0);
    const std::string whole = name.data();
    const Hosts names = {"localhost", whole, whole.substr(0, whole.find('.'))};
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& own) { return strcasecmp(own.c_str(), host.c_str()) == 0; });
}

// This host has no address but its loopback ones here.
bool is_written_as_loopback(const std::string& host) {
    in_addr four{};
    if (inet_pton(AF_INET, host.c_str(), &four) == 1) {
        return reinterpret_cast<const unsigned char*>(&four)[0] == IN_LOOPBACKNET;
    }
    Bytes loopback{};
    loopback.back() = 1;
    Bytes six{};
    if (inet_pton(AF_INET6, host.substr(0, host.find('%')).c_str(), six.data()) != 1) {
        return false;
    }
    return six == loopback || ipv6(six, 0) == ipv4(six.data() + 12);
}

void check_address(const Address& address) {
    INVARIANT(address == address);
    const std::string text = platform_library::to_text(address);
    INVARIANT(is_written_as(text, address));
    INVARIANT(names_address({text}, address, over));
    INVARIANT(!names_address({}, address, over));
}

void check_list(const Hosts& hosts, const Address& address) {
    const bool is_named = names_address(hosts, address, over);
    INVARIANT(is_named == std::any_of(hosts.begin(), hosts.end(),
                                      [&](const std::string& host) { return names_address({host}, address, over); }));
    INVARIANT(names_address(Hosts(hosts.rbegin(), hosts.rend()), address, over) == is_named);
    INVARIANT(!is_named || std::any_of(hosts.begin(), hosts.end(),
                                       [&](const std::string& host) { return is_written_as(host, address); }));
    INVARIANT(!names_this_host(hosts, over) || std::any_of(hosts.begin(), hosts.end(), [](const std::string& host) {
        return is_name_of_this_host(host) || is_written_as_loopback(host);
    }));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const bool is_ipv6 = input.choice() % 2 != 0;
    const std::string raw = input.bytes(sizeof(Bytes));
    const unsigned scope = input.choice();
    Bytes bytes{};
    std::copy(raw.begin(), raw.end(), bytes.begin());
    const Address address = is_ipv6 ? ipv6(bytes, scope) : ipv4(bytes.data());
    INVARIANT(is_ipv6 || address == mapped(bytes));
    check_address(address);
    // A few hosts are enough to find effects of one on another.
    constexpr std::size_t most_hosts = 8;
    Hosts hosts = fuzzing::lines_of(input.rest());
    hosts.resize(std::min(hosts.size(), most_hosts));
    check_list(hosts, address);
    return 0;
}
