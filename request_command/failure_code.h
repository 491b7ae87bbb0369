// The codes of failures of the command itself.
#pragma once

#include <array>

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

struct FailureCodeName {
    FailureCode code;
    const char* name;
};

inline constexpr std::array failure_code_names = {
    FailureCodeName{FailureCode::invalid_arguments, "invalid_arguments"},
    FailureCodeName{FailureCode::misplaced_option, "misplaced_option"},
    FailureCodeName{FailureCode::lookup_failed, "lookup_failed"},
    FailureCodeName{FailureCode::lookup_timed_out, "lookup_timed_out"},
    FailureCodeName{FailureCode::connection_refused, "connection_refused"},
    FailureCodeName{FailureCode::connection_timed_out, "connection_timed_out"},
    FailureCodeName{FailureCode::connection_failed, "connection_failed"},
    FailureCodeName{FailureCode::agent_not_started, "agent_not_started"},
    FailureCodeName{FailureCode::agent_killed, "agent_killed"},
    FailureCodeName{FailureCode::no_status, "no_status"},
    FailureCodeName{FailureCode::output_failed, "output_failed"},
    FailureCodeName{FailureCode::system_failed, "system_failed"},
};
