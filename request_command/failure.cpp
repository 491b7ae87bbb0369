#include "request_command/failure.h"

#include <cerrno>

const char* name_of(FailureCode code) {
    switch (code) {
        case FailureCode::invalid_arguments:
            return "invalid_arguments";
        case FailureCode::misplaced_option:
            return "misplaced_option";
        case FailureCode::lookup_failed:
            return "lookup_failed";
        case FailureCode::lookup_timed_out:
            return "lookup_timed_out";
        case FailureCode::connection_refused:
            return "connection_refused";
        case FailureCode::connection_timed_out:
            return "connection_timed_out";
        case FailureCode::connection_failed:
            return "connection_failed";
        case FailureCode::agent_not_started:
            return "agent_not_started";
        case FailureCode::agent_killed:
            return "agent_killed";
        case FailureCode::no_status:
            return "no_status";
        case FailureCode::output_failed:
            return "output_failed";
        case FailureCode::system_failed:
            break;
    }
    return "system_failed";
}

FailureCode connection_failure_code(int error) {
    switch (error) {
        case ECONNREFUSED:
            return FailureCode::connection_refused;
        case ETIMEDOUT:
            return FailureCode::connection_timed_out;
        default:
            return FailureCode::connection_failed;
    }
}
