// Addresses of names, as this host finds them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/deadline.h"
#include "platform/library/addresses.h"

namespace platform_library {

// Tells whether a name can be looked up. A text whose last label is a number cannot: what looks like an address and is
// none is not to become one by another reader of addresses. Nor can a text with blanks, control characters, ":" or "%".
bool is_host_name(std::string_view text);

enum class LookUpEnd {
    complete,     // all addresses that were found have been shown
    stopped,      // by the test
    timed_out,    // the deadline came first
    not_started,  // errno says why
};

// Looks up the names, which are host names, and shows each of their addresses to the test until that returns true. A
// child process does it for each name, several at once, and all are gone when this returns: the host's own "getent
// ahosts", so that every source of names in /etc/nsswitch.conf counts, or, where that cannot be run, the C library,
// which knows files and DNS. The addresses of one name come in the order in which they are to be tried, several times
// each. The caller does not ignore SIGCHLD.
LookUpEnd look_up(const std::vector<std::string>& names, Deadline deadline, const AddressTest& test);

}  // namespace platform_library
