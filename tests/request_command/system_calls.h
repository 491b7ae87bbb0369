// System calls of this program that can be made to fail, for the parts of the command that are tested in it.
#pragma once

#include <deque>
#include <map>
#include <string>

namespace system_calls {

// The error numbers that the next calls of a name fail with, in their order. After them calls go through. Of getsockopt
// only those count that ask for the outcome of a connect.
extern std::map<std::string, std::deque<int>> failures;

// Connects have their outcome before they return, also those that would not wait for it.
extern bool connects_wait;

// Lets everything through again. Returns the names of those calls that have not failed as often as they were to.
std::string reset();

}  // namespace system_calls
