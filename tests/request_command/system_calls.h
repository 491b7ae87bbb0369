// System calls of this program: they fail as failing_calls::failures plans, and a test can change what some of them do.
// Of getsockopt only calls that ask for the outcome of a connect fail.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace system_calls {

// Connects return with their outcome, even non-blocking ones.
extern bool connects_wait;

// Connects never have an outcome, and the time to wait for one passes at once. `waits` has these times in milliseconds.
extern bool connects_hang;
extern std::vector<int> waits;

// The time that the monotonic clock shows, since its start.
extern std::optional<std::chrono::nanoseconds> stopped_clock;

// Lets every call through, unchanged. Returns what failing_calls::reset returns.
std::string reset();

}  // namespace system_calls
