// Where and when this is.
#pragma once

#include <string>

// Throws a Failure when the system does not say.
[[nodiscard]] std::string host_name();

// Returns the time as RFC 3339 has it, UTC, in seconds.
[[nodiscard]] std::string time_now();
