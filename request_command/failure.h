// Failures of the command itself, as opposed to those of the request.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

#include "request_command/exit_status.h"
#include "request_command/failure_code.h"

// Returns the code's name, such as "lookup_timed_out".
const char* name_of(FailureCode code);

// Returns the code for a connection that could not be made, by the error number.
FailureCode connection_failure_code(int error);

// Ends the command with `own_failure` and prints its text on standard error.
class Failure : public std::runtime_error {
  public:
    Failure(FailureCode code, const std::string& message) : Failure(code, message, code) {}
    Failure(FailureCode code, const std::string& message, FailureCode cause)
        : std::runtime_error(message), code_(code), cause_(cause) {}
    explicit Failure(const std::string& message) : Failure(FailureCode::system_failed, message) {}

    [[nodiscard]] FailureCode code() const { return code_; }

    // Returns the code that a hint is about. Of several causes, it is the one that the user can do something about.
    [[nodiscard]] FailureCode cause() const { return cause_; }

  private:
    FailureCode code_;
    FailureCode cause_;
};

// The failure of a system call: what failed, followed by the system's error text.
inline Failure system_failure(int error, const std::string& what, FailureCode code = FailureCode::system_failed) {
    return {code, what + ": " + strerror(error)};
}
