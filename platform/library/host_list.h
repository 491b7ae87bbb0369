// Searches a list of hosts, such as the SERVER list, for a host.
#pragma once

#include <string>
#include <vector>

#include "platform/deadline.h"
#include "platform/library/addresses.h"

namespace platform_library {

// Return whether some host of the list is this host, or has the address. They try exact matches and the addresses in
// the list first, then the names in /etc/hosts. They call look_up only for the other names, and never for "localhost"
// and this host's own name. They ignore names that cannot be looked up before the deadline. They never resolve an
// address to a name.
bool names_this_host(const std::vector<std::string>& hosts, Deadline deadline);
bool names_address(const std::vector<std::string>& hosts, const Address& address, Deadline deadline);

}  // namespace platform_library
