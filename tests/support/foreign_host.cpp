#include "tests/support/foreign_host.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sched.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace {

constexpr const char* home_interface = "home";
constexpr const char* foreign_interface = "foreign";
// IFF_LOWER_UP of <linux/if.h>, which cannot be included together with <net/if.h>.
constexpr unsigned lower_up = 1U << 16;
constexpr unsigned char ipv4_prefix_length = 24;
constexpr unsigned char ipv6_prefix_length = 64;

void check(long result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void check_route(int error, const char* what) {
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), what);
    }
}

// Builds a message of the routing protocol of the kernel.
class RouteMessage {
  public:
    template <typename Body>
    RouteMessage(unsigned short type, unsigned short flags, const Body& body) {
        header_.nlmsg_type = type;
        header_.nlmsg_flags = static_cast<unsigned short>(NLM_F_REQUEST | NLM_F_ACK | flags);
        append(&body, sizeof body);
    }

    void attribute(unsigned short type, const void* value, std::size_t size) {
        const std::size_t start = open_attribute(type);
        append(value, size);
        close_attribute(start);
    }

    void text_attribute(unsigned short type, const char* text) { attribute(type, text, strlen(text) + 1); }

    // An attribute that contains what is appended until it is closed.
    std::size_t open_attribute(unsigned short type) {
        const std::size_t start = body_.size();
        const rtattr head = {.rta_len = 0, .rta_type = type};
        append(&head, sizeof head);
        return start;
    }

    void close_attribute(std::size_t start) {
        const auto length = static_cast<unsigned short>(body_.size() - start);
        memcpy(body_.data() + start, &length, sizeof length);
        body_.resize(RTA_ALIGN(body_.size()));
    }

    void append(const void* bytes, std::size_t size) { body_.append(static_cast<const char*>(bytes), size); }

    // Sends it to the kernel of this network namespace. Returns 0 or the kernel's error number.
    int send() {
        const Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
        const unsigned long long length = sizeof header_ + body_.size();
        header_.nlmsg_len = static_cast<unsigned>(length);
        std::string message(reinterpret_cast<const char*>(&header_), sizeof header_);
        message += body_;
        struct {
            nlmsghdr header;
            nlmsgerr error;
            std::array<char, 4096> rest;
        } answer{};
        if (::send(socket.get(), message.data(), message.size(), 0) == -1 ||
            recv(socket.get(), &answer, sizeof answer, 0) == -1) {
            return errno;
        }
        return -answer.error.error;
    }

  private:
    nlmsghdr header_{};
    std::string body_;
};

void lay_cable(int foreign_namespace) {
    const ifinfomsg any{};
    RouteMessage message(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL, any);
    message.text_attribute(IFLA_IFNAME, home_interface);
    const std::size_t information = message.open_attribute(IFLA_LINKINFO);
    message.text_attribute(IFLA_INFO_KIND, "veth");
    const std::size_t data = message.open_attribute(IFLA_INFO_DATA);
    const std::size_t peer = message.open_attribute(VETH_INFO_PEER);
    message.append(&any, sizeof any);
    message.text_attribute(IFLA_IFNAME, foreign_interface);
    message.attribute(IFLA_NET_NS_FD, &foreign_namespace, sizeof foreign_namespace);
    message.close_attribute(peer);
    message.close_attribute(data);
    message.close_attribute(information);
    check_route(message.send(), "lay the cable");
}

void remove_cable() {
    ifinfomsg body{};
    body.ifi_index = static_cast<int>(if_nametoindex(home_interface));
    RouteMessage(RTM_DELLINK, 0, body).send();
}

// Without detection of duplicate addresses, which takes time.
void add_address(const char* interface, int family, const char* address, unsigned char prefix_length) {
    ifaddrmsg body{};
    body.ifa_family = static_cast<unsigned char>(family);
    body.ifa_prefixlen = prefix_length;
    body.ifa_flags = IFA_F_NODAD;
    body.ifa_index = if_nametoindex(interface);
    in6_addr bytes{};
    inet_pton(family, address, &bytes);
    const std::size_t size = family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr);
    RouteMessage message(RTM_NEWADDR, NLM_F_CREATE | NLM_F_EXCL, body);
    message.attribute(IFA_LOCAL, &bytes, size);
    message.attribute(IFA_ADDRESS, &bytes, size);
    check_route(message.send(), address);
}

void raise(const char* interface) {
    ifinfomsg body{};
    body.ifi_index = static_cast<int>(if_nametoindex(interface));
    body.ifi_flags = IFF_UP;
    body.ifi_change = IFF_UP;
    check_route(RouteMessage(RTM_NEWLINK, 0, body).send(), interface);
}

// Receives changes of interfaces and IPv6 routes in the network namespace in which it was created.
class NetworkWatch {
  public:
    NetworkWatch() : socket_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {
        sockaddr_nl name{};
        name.nl_family = AF_NETLINK;
        name.nl_groups = RTMGRP_LINK | RTMGRP_IPV6_ROUTE;
        check(bind(socket_.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), "watch the network");
    }

    // Waits until an interface has its carrier. Earlier packets are lost.
    void await_carrier() const {
        constexpr unsigned ready = IFF_UP | IFF_RUNNING | lower_up;
        ifinfomsg body{};
        do {
            await(RTM_NEWLINK, body);
        } while ((body.ifi_flags & ready) != ready);
    }

    // Waits until packets for an IPv6 address are accepted, which is some time after the address was added.
    void await_ipv6_address(const char* address) const {
        std::string bytes(sizeof(in6_addr), '\0');
        inet_pton(AF_INET6, address, bytes.data());
        rtmsg body{};
        std::string attributes;
        do {
            attributes = await(RTM_NEWROUTE, body);
        } while (body.rtm_type != RTN_LOCAL || attributes.find(bytes) == std::string::npos);
    }

  private:
    // Waits for a message of the type. Returns the attributes after its body.
    template <typename Body>
    std::string await(unsigned short type, Body& body) const {
        nlmsghdr header{};
        std::string news;
        do {
            news.assign(longest_news, '\0');
            check(recv(socket_.get(), news.data(), news.size(), 0), "news of the network");
            memcpy(&header, news.data(), sizeof header);
            memcpy(&body, news.data() + sizeof header, sizeof body);
        } while (header.nlmsg_type != type);
        return news.substr(sizeof header + sizeof body);
    }

    static constexpr std::size_t longest_news = 16384;

    Descriptor socket_;
};

void add_addresses(const char* interface, const char* ipv4, const char* ipv6) {
    add_address(interface, AF_INET, ipv4, ipv4_prefix_length);
    add_address(interface, AF_INET6, ipv6, ipv6_prefix_length);
}

Descriptor current_namespace() {
    return Descriptor(open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC));
}

// Moves this process to the network namespace for the life of the object. A socket stays in the one of its creation.
class Visit {
  public:
    Visit(int visited, int home) : home_(home) { check(setns(visited, CLONE_NEWNET), "enter the network namespace"); }
    ~Visit() { setns(home_, CLONE_NEWNET); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

  private:
    int home_;
};

}  // namespace

ForeignHost::ForeignHost() : home_(current_namespace()) {
    check(unshare(CLONE_NEWNET), "network namespace");
    foreign_ = current_namespace();
    check(setns(home_.get(), CLONE_NEWNET), "back from the foreign network namespace");
    lay_cable(foreign_.get());
    const NetworkWatch home_watch;
    raise(home_interface);
    {
        const Visit visit(foreign_.get(), home_.get());
        const NetworkWatch foreign_watch;
        raise(foreign_interface);
        foreign_watch.await_carrier();
        add_addresses(foreign_interface, ipv4, ipv6);
        foreign_watch.await_ipv6_address(ipv6);
    }
    home_watch.await_carrier();
    add_addresses(home_interface, own_ipv4, own_ipv6);
    home_watch.await_ipv6_address(own_ipv6);
}

ForeignHost::~ForeignHost() {
    remove_cable();
}

ConnectedSockets ForeignHost::connect(const TcpEnds& ends) const {
    const Listener listener(ends.listener);
    ConnectedSockets connection;
    {
        const Visit visit(foreign_.get(), home_.get());
        connection.peer_end = connect_to(ends.server, listener.port(), ends.peer, ends.peer_port);
    }
    connection.agent_end = listener.accept();
    return connection;
}
