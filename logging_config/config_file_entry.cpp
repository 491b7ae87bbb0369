#include "logging_config/config_file_entry.h"

#include <array>

#include "agent/string_utilities.h"
#include "logging_config/key_value_file.h"
#include "platform/runtime.h"

int process_config_file_entry(std::string category, std::string entry, Responses& responses, std::string path,
                              std::string key, std::string separator, std::string default_level) {
    constexpr std::size_t message_size = 1024;
    constexpr std::size_t line_size = 2048;
    std::string name;
    std::string level = default_level;
    split_lhs_rhs(entry, name, level);
    std::array<char, message_size> notice{};
    const int result =
        set_parameter_value(path, key, separator, level, notice.data(), notice.size(), set_flag::make_active);
    const ProcessLine line = {.label = process_label(category, name),
                              .status = result,
                              .message = describe_edit(result, notice.data(), name)};
    respond(log_level::information, "process_config_file_entry", compose(line, line_size), responses);
    return result;
}
