// The names and addresses of /etc/hosts.
#pragma once

#include <functional>
#include <string_view>

#include "platform/library/addresses.h"

namespace platform_library {

// Calls `visit` with each name of each line of /etc/hosts and the line's address, until a call returns true. Returns
// whether one did. Ignores a file that it cannot read and lines that do not begin with an address.
bool any_in_hosts_file(const std::function<bool(std::string_view name, const Address& address)>& visit);

}  // namespace platform_library
