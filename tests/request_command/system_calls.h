// System calls of this program that can be made to fail, for the parts of the command that are tested in it.
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace system_calls {

// The error numbers that the next calls of a name fail with, in their order. After them calls go through. Of getsockopt
// only those count that ask for the outcome of a connect.
extern std::map<std::string, std::deque<int>> failures;

// Connects have their outcome before they return, also those that would not wait for it.
extern bool connects_wait;

// Connects have no outcome, and the time that is waited for one passes at once. `waits` has these times, in
// milliseconds.
extern bool connects_hang;
extern std::vector<int> waits;

// What the monotonic clock shows, since its start.
extern std::optional<std::chrono::nanoseconds> stopped_clock;

// Lets everything through again. Returns the names of those calls that have not failed as often as they were to.
std::string reset();

}  // namespace system_calls
