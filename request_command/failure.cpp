#include "request_command/failure.h"

#include <algorithm>
#include <cerrno>

const char* name_of(FailureCode code) {
    const auto* const row = std::find_if(failure_code_names.begin(), failure_code_names.end(),
                                         [code](const FailureCodeName& known) { return known.code == code; });
    return row->name;
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
