// Failures of the command itself, as opposed to those of the request.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

// Exit status of the command when it fails itself and the status of the request is unknown.
inline constexpr int own_failure = 255;

// The kind of failure, for programs. The names of the codes are part of the JSON output and never change.
enum class FailureCode {
    invalid_arguments,
    misplaced_option,  // an option of the command that follows the request word
    lookup_failed,
    lookup_timed_out,
    connection_refused,    // by every address of the host
    connection_timed_out,  // at every address of the host
    connection_failed,     // for another reason, or for several
    agent_not_started,
    agent_killed,  // by a signal, so its status line is not trusted
    no_status,     // the answer ended without a status line
    output_failed,
    system_failed,  // anything else
};

// Returns the code's name, such as "lookup_timed_out".
const char* name_of(FailureCode code);

// Returns the code for a connection that could not be made, by the error number.
FailureCode connection_failure_code(int error);

// Ends the command with `own_failure` and prints its text on standard error.
class Failure : public std::runtime_error {
  public:
    Failure(FailureCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
    explicit Failure(const std::string& message) : Failure(FailureCode::system_failed, message) {}

    [[nodiscard]] FailureCode code() const { return code_; }

  private:
    FailureCode code_;
};

// The failure of a system call: what failed, followed by the system's error text.
inline Failure system_failure(int error, const std::string& what, FailureCode code = FailureCode::system_failed) {
    return {code, what + ": " + strerror(error)};
}
