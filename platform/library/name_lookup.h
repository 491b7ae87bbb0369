// Looks up the addresses of host names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/deadline.h"
#include "platform/idle_task.h"
#include "platform/library/addresses.h"

namespace platform_library {

// Returns whether the text may be looked up as a name. A text whose last label is a number may not: some resolvers
// would read it as an address that parse_address rejects. A text with blanks, control characters, ":" or "%" may not
// either.
bool is_host_name(std::string_view text);

enum class LookUpEnd {
    complete,     // the test saw all addresses that were found
    stopped,      // by the test
    timed_out,    // the deadline came first
    not_started,  // errno says why
};

// Looks up the names, for which is_host_name holds, and calls the test with each address until the test returns true.
// Starts a child process for each name, several at once; all have ended when this function returns. A child runs the
// host's "getent ahosts", which uses every source of names in /etc/nsswitch.conf. Where that program cannot be run, the
// child uses the C library, which knows files and DNS. The addresses of a name come in the order in which to try them,
// each several times. The caller must not ignore SIGCHLD. The task, which can be null, runs during the wait.
LookUpEnd look_up(const std::vector<std::string>& names, Deadline deadline, const AddressTest& test,
                  IdleTask* task = nullptr);

}  // namespace platform_library
