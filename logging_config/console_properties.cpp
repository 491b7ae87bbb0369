#include "logging_config/console_properties.h"

#include <array>

#include "agent/command_words.h"
#include "agent/string_utilities.h"
#include "logging_config/key_value_file.h"
#include "logging_config/settings.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

constexpr std::size_t message_size = 512;
constexpr std::size_t line_size = 2048;

using Message = std::array<char, message_size>;

int edit_property(const std::string& action, const setting::KeyValue& property, const std::string& value,
                  Message& message) {
    message[0] = '\0';
    if (action == logging_action::enable) {
        return set_parameter_value(property.file, property.key, property.separator, value, message.data(),
                                   message.size(), set_flag::make_active);
    }
    if (action == logging_action::disable || action == logging_action::reset) {
        return unset_parameter(property.file, property.key, property.separator, message.data(), message.size(),
                               comment_mark);
    }
    return status::success;  // an unknown action changes nothing and succeeds
}

// The second edit clears the message of the first, so only the last message is reported.
int edit_properties(const std::string& action, const std::string& mask, Message& message) {
    const int result = edit_property(action, setting::console_commands, "true", message);
    return result == status::success ? edit_property(action, setting::console_mask, mask, message) : result;
}

std::string describe(int result, const Message& message) {
    if (result != status::success) {
        return message.data();
    }
    if (message[0] == '\0') {
        return "Set up Debug.properties";
    }
    return std::string("Set up Debug.properties (") + message.data() + ")";
}

}  // namespace

int process_javagui(std::string category, const Values& values, Responses& responses, std::string action) {
    Message message{};
    int result = status::success;
    bool edited = false;
    for (const std::string& value : values) {
        std::string name;
        std::string mask = "0x00040000";
        split_lhs_rhs(value, name, mask);
        // A request edits the file once. The masks of later values are ignored, and their lines repeat the outcome.
        if (!edited) {
            result = edit_properties(action, mask, message);
            edited = true;
        }
        const ProcessLine line = {
            .label = process_label(category, name), .status = result, .message = describe(result, message)};
        respond(log_level::information, "process_javagui", compose(line, line_size), responses);
    }
    return status::success;
}
