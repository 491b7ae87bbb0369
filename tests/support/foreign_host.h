// Another host: a network namespace that is connected with this one by a pair of interfaces.
#pragma once

#include <string>

#include "tests/support/connected_sockets.h"

class ForeignHost {
  public:
    static constexpr const char* own_ipv4 = "10.77.0.1";
    static constexpr const char* own_ipv6 = "fd77::1";
    static constexpr const char* ipv4 = "10.77.0.2";
    static constexpr const char* ipv6 = "fd77::2";

    // Connects both. This host gets the addresses own_*, the foreign host the others.
    ForeignHost();
    ~ForeignHost();
    ForeignHost(const ForeignHost&) = delete;
    ForeignHost& operator=(const ForeignHost&) = delete;

    // Connects the foreign host to this one; `ends` name addresses of both.
    [[nodiscard]] ConnectedSockets connect(const TcpEnds& ends) const;

  private:
    Descriptor home_;
    Descriptor foreign_;
};
