#include "logging_config/volume_manager.h"

#include <array>
#include <cstring>

#include "agent/command_words.h"
#include "logging_config/key_value_file.h"
#include "logging_config/settings.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

int process_vmconf(std::string category, const Values& entries, Responses& responses, const char* action) {
    constexpr const char* tag = "process_vmconf";
    constexpr std::size_t message_size = 1024;
    constexpr std::size_t line_size = 2048;
    constexpr setting::KeyValue keyword = setting::volume_manager;
    std::array<char, message_size> message{};
    int result = status::success;
    if (strcmp(action, logging_action::enable) == 0) {
        result = set_parameter_value(keyword.file, keyword.key, keyword.separator, "", message.data(), message.size(),
                                     set_flag::make_active);
    } else if (strcmp(action, logging_action::disable) == 0 || strcmp(action, logging_action::reset) == 0) {
        result =
            unset_parameter(keyword.file, keyword.key, keyword.separator, message.data(), message.size(), comment_mark);
    } else {
        logmsgf(log_level::error, tag, "Invalid action=%s", action);
        return status::failure;
    }
    for (const std::string& entry : entries) {
        const ProcessLine line = {.label = process_label(category, entry),
                                  .status = result,
                                  .message = result == status::success ? "Set debug logging" : message.data()};
        respond(log_level::information, tag, compose(line, line_size), responses);
    }
    return status::success;
}
