// Another host on a network cable of its own: an interface of this network namespace whose other end lies in another.
#pragma once

#include <string>

#include "tests/support/connected_sockets.h"

class ForeignHost {
  public:
    static constexpr const char* own_ipv4 = "10.77.0.1";
    static constexpr const char* own_ipv6 = "fd77::1";
    static constexpr const char* ipv4 = "10.77.0.2";
    static constexpr const char* ipv6 = "fd77::2";

    // Lays the cable, with the addresses own_* at this host's end and the others at the foreign one's.
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
