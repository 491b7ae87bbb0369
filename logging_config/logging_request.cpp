#include "logging_config/logging_request.h"

#include "agent/response_channel.h"
#include "agent/string_utilities.h"
#include "logging_config/categories.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

// Logs a malformed argument. On purpose, the message is passed as the tag and the argument as the format, so the log
// line has no other tag. Every "%" is doubled, so that the log shows the argument unchanged and nothing in it is
// interpreted.
void log_malformed_argument(const std::string& argument, std::size_t colon) {
    std::string format;
    for (const char byte : argument) {
        format.append(byte == '%' ? 2 : 1, byte);
    }
    const int position = colon == std::string::npos ? -1 : static_cast<int>(colon);
#pragma GCC diagnostic push
// Safe: the only directive in the text is "%%", which takes no argument.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    logmsgf(log_level::error, "Invalid 'ctgy:args' format: %s Position=%d RV=%d", format.c_str(), position,
            status::logging_argument_not_valid);
#pragma GCC diagnostic pop
}

int send_responses(const Responses& responses, int socket, int result) {
    constexpr const char* tag = "handle_logging";
    for (const std::string& line : responses) {
        const int length = static_cast<int>(line.size());
        logmsgf(log_level::information, tag, "Responding (len=%d) %s", length, line.c_str());
        if (socksend(socket, line.c_str(), line.size()) != length) {
            logmsgf(log_level::error, tag, "failed to send response: %s (SFD=%d)", line.c_str(), socket);
            result = status::output_not_sent;
        }
    }
    return result;
}

}  // namespace

int split_ctgy_args(std::string argument, std::string& category, std::vector<std::string>& values) {
    const std::size_t colon = argument.find(':');
    if (colon == std::string::npos || colon + 1 == argument.size()) {
        log_malformed_argument(argument, colon);
        return status::logging_argument_not_valid;
    }
    category = argument.substr(0, colon);
    split_string(argument.substr(colon + 1), ',', values);
    return status::success;
}

int handle_logging(const RequestVector& request, int socket, const char* action) {
    logmsgf(log_level::information, "handle_logging", "%s logging C=%s", action, request[0].c_str());
    Responses responses;
    int result = status::success;
    for (std::size_t i = 1; i < request.size(); ++i) {
        std::string category;
        Values values;
        result = split_ctgy_args(request[i], category, values);
        if (result != status::success) {
            return result;
        }
        // The status is the last category's. Earlier failures are reported only in their response lines.
        result = process_category(category, values, responses, action);
    }
    return send_responses(responses, socket, result);
}
