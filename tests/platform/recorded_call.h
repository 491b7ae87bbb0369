// What the wrappers of system calls share.
#pragma once

#include <string>

namespace system_calls {

// Adds a call to the journal.
void record(const std::string& call);

// Returns -1 with the error number.
int fail(int error);

}  // namespace system_calls
