#include "logging_config/connection_broker.h"

#include <cstdint>
#include <cstdlib>

#include "agent/string_utilities.h"
#include "logging_config/settings.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

constexpr const char* fixed_arguments = " -a -p 50936 -o 103 -s DebugLevel=";

// Quotes the text so that the shell passes it on unchanged. A text without special characters needs no quotes.
std::string quote_for_shell(const std::string& text) {
    constexpr const char* harmless = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.+=-";
    if (text.find_first_not_of(harmless) == std::string::npos) {
        return text;
    }
    std::string quoted = "'";
    for (const char byte : text) {
        if (byte == '\'') {
            quoted += "'\\''";
        } else {
            quoted += byte;
        }
    }
    return quoted + "'";
}

}  // namespace

int extract_kob_values(const Values& values, std::string& name, std::string& level) {
    constexpr const char* tag = "validate_kob_ctgyargs";
    constexpr std::uint32_t highest_level = 10;
    if (values.size() != 1) {
        logmsgf(log_level::error, tag, "Expected 1, NOT %d", static_cast<int>(values.size()));
        return status::kob_arguments_not_valid;
    }
    split_lhs_rhs(values[0], name, level);
    // Takes the low 32 bits of a conversion to 64 bits, even if a long has 32. They are unsigned, so that a negative
    // level is too high.
    const auto value = static_cast<std::uint32_t>(strtoll(level.c_str(), nullptr, 10));
    if (value <= highest_level && name == connection_broker::name) {
        return status::success;
    }
    logmsgf(log_level::error, tag, "Invalid KOB DbgLevel spec: N=%s V=%d", name.c_str(), static_cast<int>(value));
    return status::kob_arguments_not_valid;
}

int process_kob(std::string category, const Values& values, Responses& responses) {
    constexpr const char* tag = "process_kob";
    constexpr std::size_t line_size = 1024;
    std::string name;
    std::string level;
    const int checked = extract_kob_values(values, name, level);
    if (checked != status::success) {
        logmsgf(log_level::information, tag, "Completed w/ %d", checked);
        return checked;
    }
    const std::string command = connection_broker::tool + (fixed_arguments + quote_for_shell(level));
    logmsgf(log_level::information, tag, "For C=%s CA=%s executing cmd=%s", category.c_str(), level.c_str(),
            command.c_str());
    // The line and the result hold the wait status undecoded.
    const int result = system(command.c_str());
    const std::string line = compose({.label = process_label(category, name),
                                      .status = result,
                                      .message = result == 0 ? "Success" : "failed to change KOB cfg"},
                                     line_size);
    logmsgf(log_level::information, tag, "Sending to caller: %s", line.c_str());
    responses.push_back(line);
    logmsgf(log_level::information, tag, "Completed w/ %d", result);
    return result;
}
