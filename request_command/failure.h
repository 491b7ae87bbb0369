// The command's own failures, as opposed to those of the request.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

// Exit status of the command when it fails itself: the request's status is then not known.
inline constexpr int own_failure = 255;

// Ends the command with `own_failure` and its text on standard error.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The failure of a system call: what was to be done, and why it could not be.
inline Failure system_failure(int error, const std::string& what) {
    return Failure(what + ": " + strerror(error));
}
