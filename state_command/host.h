// The name of this host and the time.
#pragma once

#include <string>

// Returns the name of this host. Throws a Failure when the system does not give one.
[[nodiscard]] std::string host_name();

// Returns the time in the form of RFC 3339, in UTC and whole seconds.
[[nodiscard]] std::string time_now();
