// What ends the command, and what it only complains about.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

// Exit statuses.
namespace exit_status {
inline constexpr int nothing_differs = 0;
inline constexpr int differs = 1;
inline constexpr int not_read = 2;  // a file could not be read or was not saved; the others have been looked at
inline constexpr int failed = 255;  // the command line is not valid, or nothing could be done
}  // namespace exit_status

// Ends the command with exit_status::failed and its text on standard error.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The failure of a system call: what was to be done, and why it could not be.
inline Failure system_failure(int error, const std::string& what) {
    return Failure(what + ": " + strerror(error));
}
