#include "logging_config/storage_plugin.h"

#include <array>

#include "agent/string_utilities.h"
#include "logging_config/key_value_file.h"
#include "logging_config/settings.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

constexpr std::size_t message_size = 1024;
constexpr std::size_t line_size = 2048;

using Message = std::array<char, message_size>;

// Sets `message` to that of the first edit if this fails, else to that of the second. Does not change an active
// "DEBUGLOG".
int set_plugin_logging(const std::string& level, Message& message) {
    constexpr setting::KeyValue where = setting::plugin_level;
    const int result = set_parameter_value(where.file, where.key, where.separator, level, message.data(),
                                           message.size(), set_flag::make_active);
    if (result != status::success) {
        return result;
    }
    message[0] = '\0';
    constexpr setting::KeyValue log = setting::plugin_log;
    return set_parameter_value(log.file, log.key, log.separator, "/", message.data(), message.size(),
                               set_flag::restore_commented);
}

}  // namespace

int process_rkplugin(std::string category, const Values& values, Responses& responses) {
    constexpr const char* tag = "process_rkplugin";
    // The rejection is only a remark: the first value is applied anyway.
    if (values.size() != 1 || values[0] != setting::plugin_name) {
        respond(log_level::error, tag,
                compose({.label = category::rkplugin,
                         .status = status::failure,
                         .message = "Only 'rkplugin' is valid 'RKPLUGIN' log ID"},
                        line_size),
                responses);
    }
    if (values.empty()) {
        return status::success;
    }
    std::string name;
    std::string level = "10";
    split_lhs_rhs(values[0], name, level);
    Message message{};
    const int result = set_plugin_logging(level, message);
    const ProcessLine line = {.label = process_label(category, name),
                              .status = result,
                              .message = describe_edit(result, message.data(), setting::plugin_name)};
    respond(result == status::success ? log_level::information : log_level::error, tag, compose(line, line_size),
            responses);
    return status::success;
}
