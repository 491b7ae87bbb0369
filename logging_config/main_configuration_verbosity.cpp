#include "logging_config/main_configuration_verbosity.h"

#include <strings.h>

#include <array>

#include "agent/bounded_text.h"
#include "agent/string_utilities.h"
#include "logging_config/settings.h"
#include "logging_config/text_lines.h"
#include "platform/main_configuration.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

constexpr const char* tag = "process_qrconf";
constexpr std::size_t message_size = 1024;
constexpr std::size_t line_size = 2048;

// The options that the product passes to its configuration library.
constexpr int parse_option = 1;
constexpr int no_option = 0;

constexpr std::array special_members = {"Debug_Database"};

template <typename Names>
int find_ignoring_case(const Names& names, const std::string& name) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (strcasecmp(names[i], name.c_str()) == 0) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

bool isqrconfstructmember(const std::string& key) {
    const int index = find_ignoring_case(main_key::structure_members, key);
    if (index < 0) {
        return false;
    }
    logmsgf(log_level::detail, "isqrconfstructmember", "qr.conf structure member: %d %s", index, key.c_str());
    return true;
}

bool isqrconfspecialmember(const std::string& name) {
    const int index = find_ignoring_case(special_members, name);
    if (index < 0) {
        return false;
    }
    logmsgf(log_level::detail, "isqrconfspecialmember", "qr.conf special member: %d %s", index, name.c_str());
    return true;
}

// Returns the line of configuration text that sets a key to 0 or removes it. The order of the tests is deliberate: the
// last one sees only keys with "_VERBOSE", so it never finds the special member.
std::string reset_line(const std::string& name, const std::string& key) {
    if (!contains(key, main_key::verbose_suffix) || isqrconfstructmember(key) || isqrconfspecialmember(name)) {
        return key + "=0\n";
    }
    logmsgf(log_level::detail, tag, "Removing '%s' from qr.conf", name.c_str());
    return key + "\n";
}

std::string configuration_line(const std::string& name, const std::string& level) {
    const std::string key = stringupper(name);
    if (get_master_config_ptr()->VERBOSE == 0 && level == "-1") {
        return reset_line(name, key);
    }
    return key + "=" + level + "\n";
}

// Parses the text and applies it to this host. Returns 0, or the library's status with `message` set.
int apply_configuration(std::string text, std::string& message) {
    ConfigRecord record{};
    ConfigRecord other;  // required, but the library reads nothing from it
    int result = ParseConfigExA(text.data(), &record, &other, parse_option);
    if (result != 0) {
        message = bounded_print(message_size, "invalid qr.conf input (RV=%d %s)", result, getECmsg(result));
    } else {
        result = UpdateHostConfigExA(QRConfZMStandardServer, &record, &other, no_option, no_option, no_option);
        if (result != 0) {
            message = bounded_print(message_size, "qr.conf update failed (RV=%d %s)", result, getECmsg(result));
        }
    }
    FreeConfig(&record);
    return result;
}

}  // namespace

int process_qrconf(std::string category, const Values& entries, Responses& responses, const char*) {
    logmsgf(log_level::detail, tag, "current global VERBOSE=%d", get_master_config_ptr()->VERBOSE);
    std::string text;
    std::vector<std::string> labels;
    for (const std::string& entry : entries) {
        std::string name;
        std::string level = "5";
        split_lhs_rhs(entry, name, level);
        text += configuration_line(name, level);
        labels.push_back(process_label(category, name));
    }
    std::string message = "Set up";
    const int result = apply_configuration(text, message);
    // The update has one outcome for all lines: status 0 or 1, not the library's status.
    const bool failed = result != 0;
    for (const std::string& label : labels) {
        const ProcessLine line = {
            .label = label, .status = failed ? status::failure : status::success, .message = message};
        respond(failed ? log_level::error : log_level::information, tag, compose(line, line_size), responses);
    }
    return result;
}
