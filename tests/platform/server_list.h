// What the tests of the SERVER list share: names, and connections with peers on this host and on another one.
#pragma once

#include <string>
#include <vector>

#include "tests/platform/system_calls.h"
#include "tests/platform/verified_peer.h"
#include "tests/support/foreign_host.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

// Names of addresses of this host and of others.
inline constexpr const char* hosts_file =
    "127.0.0.1 localhost\n"
    "::1 localhost\n"
    "127.0.0.1 loop.example.test\n"
    "127.9.8.7 far-loop.example.test\n"
    "::1 loop6.example.test\n"
    "10.77.0.1 own.example.test\n"
    "fd77::1 own6.example.test\n"
    "10.77.0.2 trusted.example.test\n"
    "fd77::2 trusted6.example.test\n"
    "10.77.0.9 both.example.test\n"
    "10.77.0.2 both.example.test\n"
    "10.77.0.9 other.example.test\n";

inline const TcpEnds from_loopback = {.listener = "127.0.0.1", .server = "127.0.0.1", .peer = "127.0.0.1"};
inline const TcpEnds from_foreign = {.listener = "10.77.0.1", .server = "10.77.0.1", .peer = "10.77.0.2"};
inline const TcpEnds from_foreign_mapped = {.listener = "::", .server = "10.77.0.1", .peer = "10.77.0.2"};
inline const TcpEnds from_foreign_ipv6 = {.listener = "::", .server = "fd77::1", .peer = "fd77::2"};

class ServerList : public ProductTest {
  protected:
    ServerList() { write_file("/etc/hosts", hosts_file); }
    ~ServerList() override { system_calls::reset(); }

    ForeignHost foreign_;
};
