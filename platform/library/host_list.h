// Whether a list of hosts names one.
#pragma once

#include <string>
#include <vector>

#include "platform/deadline.h"
#include "platform/library/addresses.h"

namespace platform_library {

// Tell whether some host of the list is this host, or has the address. Names are resolved to addresses, never the
// other way round, and only after no exact match and no address of the list has decided: by /etc/hosts, and those that
// are not in there by a look-up. What could not be looked up before the deadline does not count. "localhost" and
// this host's own name are never looked up.
bool names_this_host(const std::vector<std::string>& hosts, Deadline deadline);
bool names_address(const std::vector<std::string>& hosts, const Address& address, Deadline deadline);

}  // namespace platform_library
