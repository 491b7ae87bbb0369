// The failures that end the command.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

#include "state_command/exit_status.h"

// Ends the command with exit_status::failed. The command prints the text to standard error.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Returns the failure for the error number of a system call. `what` says what the command could not do.
inline Failure system_failure(int error, const std::string& what) {
    return Failure(what + ": " + strerror(error));
}
