// The names and addresses of /etc/hosts.
#pragma once

#include <functional>
#include <string_view>

#include "platform/library/addresses.h"

namespace platform_library {

// Calls `visit` with each name of each line of /etc/hosts and the line's address until it returns true. Returns whether
// it did. A file that cannot be read has no lines, and a line that begins with no address has no names.
bool any_in_hosts_file(const std::function<bool(std::string_view name, const Address& address)>& visit);

}  // namespace platform_library
