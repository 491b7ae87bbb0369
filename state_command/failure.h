// What ends the command, and what it only complains about.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

#include "state_command/exit_status.h"

// Ends the command with exit_status::failed and its text on standard error.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The failure of a system call: what was to be done, and why it could not be.
inline Failure system_failure(int error, const std::string& what) {
    return Failure(what + ": " + strerror(error));
}
