// Searches a list of hosts for a host.
#pragma once

#include <string>
#include <vector>

#include "platform/deadline.h"
#include "platform/library/addresses.h"

namespace platform_library {

// Return whether some host of the list is this host, or has the address. They try exact matches and the addresses in
// the list first. Only then do they resolve names to addresses: with /etc/hosts, or with a look-up for names that are
// not in there. They never resolve an address to a name. They ignore names that cannot be looked up before the
// deadline. They never look up "localhost" and this host's own name.
bool names_this_host(const std::vector<std::string>& hosts, Deadline deadline);
bool names_address(const std::vector<std::string>& hosts, const Address& address, Deadline deadline);

}  // namespace platform_library
