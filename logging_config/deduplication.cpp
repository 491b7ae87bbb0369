#include "logging_config/deduplication.h"

#include <fcntl.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <utility>

#include "agent/answer_forms.h"
#include "agent/string_utilities.h"
#include "logging_config/key_value_file.h"
#include "logging_config/settings.h"
#include "logging_config/text_lines.h"
#include "platform/posix.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"
#include "platform/system_error.h"

namespace {

constexpr std::size_t message_size = 1024;
constexpr std::size_t line_size = 2048;

using Message = std::array<char, message_size>;

// Status and message of each file that the request has edited, by path.
using Outcomes = std::map<std::string, std::pair<int, std::string>>;

// Sets the logging of a component. If an earlier component of the request has the same file, repeats its outcome, even
// if this component asks for another value.
int set_component_logging(const std::string& component, const std::string& value, Outcomes& outcomes,
                          Message& message) {
    std::string path;
    int result = get_rk_conf_filepath(component, path, message.data(), message.size());
    if (result != status::success) {
        return result;
    }
    const auto known = outcomes.find(path);
    if (known != outcomes.end()) {
        snprintf(message.data(), message.size(), "%s", known->second.second.c_str());
        logmsgf(log_level::detail, "process_rk", "Using cached: EC=%d M=%s", known->second.first, message.data());
        return known->second.first;
    }
    result =
        set_parameter_value(path, deduplication::key, deduplication::separator, value + deduplication::value_suffix,
                            message.data(), message.size(), set_flag::make_active);
    outcomes[path] = {result, message.data()};
    return result;
}

}  // namespace

int get_kpa_conf_filepath(std::string registry, std::string& path, char* error, unsigned long size) {
    constexpr const char* tag = "get_kpa_conf_filepath";
    // Non-blocking, so that opening never waits for another process, even if the file is a pipe.
    const Descriptor file(open(registry.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.valid()) {
        const SystemError failure;
        snprintf(error, size, "Failed to open file (%s) E=%d (%s)", registry.c_str(), failure.number, failure.text());
        logmsgf(log_level::error, tag, "%s", error);
        return status::registry_not_opened;
    }
    std::string text;
    static_cast<void>(read_all(file.get(), text));
    for (const std::string_view line : split_lines(text)) {
        if (contains(line, deduplication::registry_marker)) {
            std::string ignored_key;
            split_lhs_rhs(std::string(line), ignored_key, path);
            // System calls end a path at a zero byte. Names that are made from the path must end there too.
            path.resize(strlen(path.c_str()));
            return status::success;
        }
    }
    snprintf(error, size, "Failed to find kpa.cfg entry in %s", registry.c_str());
    logmsgf(log_level::error, tag, "%s", error);
    return status::registry_without_file;
}

int get_rk_conf_filepath(std::string component, std::string& path, char* error, unsigned long size) {
    if (component == deduplication::fixed_component) {
        path = deduplication::fixed_component_file;
        return status::success;
    }
    const int result = get_kpa_conf_filepath(deduplication::registry, path, error, size);
    logmsgf(log_level::detail, "get_rk_conf_filepath", "Morvisk configuration file path=%s RV=%d ERR=%s", path.c_str(),
            result, error);
    return result;
}

int process_rk(std::string category, const Values& values, Responses& responses) {
    Outcomes outcomes;
    for (const std::string& element : values) {
        Message message{};
        std::string component;
        std::string value = "full";
        split_lhs_rhs(element, component, value);
        const int result = set_component_logging(component, value, outcomes, message);
        ProcessLine line = {.label = process_label(category, component), .status = result};
        if (result == status::success) {
            line.message = process_message::value_set + ("'" + value + "'");
        } else {
            line.message = message.data();
            line.value = value;
        }
        respond(log_level::information, "process_rk", compose(line, line_size), responses);
    }
    return status::success;
}
