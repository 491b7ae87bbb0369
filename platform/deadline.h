// Points in time at which waits end.
#pragma once

#include <algorithm>
#include <chrono>

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

// Returns the time until the deadline, or 0 when it has passed. Rounds up, so that no wait ends too early.
inline std::chrono::milliseconds time_left(Deadline deadline) {
    using std::chrono::milliseconds;
    return std::max(std::chrono::ceil<milliseconds>(deadline - Clock::now()), milliseconds::zero());
}
