// Points in time that waits end at.
#pragma once

#include <algorithm>
#include <chrono>

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

// Returns the time until the deadline, 0 when it has passed. Rounded up, so that no wait ends before it.
inline std::chrono::milliseconds time_left(Deadline deadline) {
    using std::chrono::milliseconds;
    return std::max(std::chrono::ceil<milliseconds>(deadline - Clock::now()), milliseconds::zero());
}
