#include "logging_config/log_directories.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "agent/command_words.h"
#include "agent/string_utilities.h"
#include "logging_config/settings.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"
#include "platform/system_error.h"

namespace {

constexpr const char* product_tag = "process_zmulogdir";
constexpr const char* volume_manager_tag = "process_mmlogdir";
constexpr std::size_t line_size = 1024;
constexpr mode_t volume_manager_mode = 0755;

bool is_enable(const char* action) {
    return strcmp(action, logging_action::enable) == 0;
}

ProcessLine success_line(const std::string& label, const std::string& path, const std::string& message) {
    return {.label = label, .status = status::success, .message = message, .directory = path};
}

ProcessLine failure_line(const std::string& label, const std::string& path, const std::string& message,
                         const SystemError& error) {
    return {.label = label, .status = status::failure, .message = message, .directory = path, .error = error};
}

void answer(const char* tag, const ProcessLine& line, Responses& responses) {
    const int level = line.status == status::success ? log_level::information : log_level::error;
    respond(level, tag, compose(line, line_size), responses);
}

// Carries out the action and returns the response line.
ProcessLine set_up_product_directory(const std::string& label, const std::string& name, const char* action) {
    const std::string path = std::string(log_root::product) + "/" + name;
    ProcessLine line = success_line(label, path, "Set up log directory");
    line.permission = 0;
    if (!is_enable(action)) {
        logmsgf(log_level::error, product_tag, "Invalid action=%s", action);
        return line;
    }
    const short mode = getDirCreationMode(name.c_str());
    line.permission = static_cast<unsigned>(mode);
    int code = 0;
    if (mklogdirpath(path.c_str(), mode, &code) != 0) {
        logmsgf(log_level::error, product_tag, "Error received while creating log directory %s : %d", name.c_str(),
                code);
    } else if (code == EEXIST) {
        code = 0;
        line.message = "Log directory exists";
    }
    // On purpose, the code decides and not the library's result, and the line shows errno and not the code.
    const SystemError error;
    return code == 0 ? line : failure_line(label, path, "Failed to create log directory", error);
}

// Does the same for the volume manager.
ProcessLine set_up_volume_manager_directory(const std::string& label, const std::string& path, const char* action) {
    logmsgf(log_level::information, volume_manager_tag, "Action=%s, DIR=%s", action, path.c_str());
    if (!is_enable(action)) {
        logmsgf(log_level::error, volume_manager_tag, "Invalid action=%s", action);
        return success_line(label, path, "");
    }
    if (mkdir(path.c_str(), volume_manager_mode) == 0) {
        return success_line(label, path, "Set up log directory");
    }
    const SystemError error;
    return error.number == EEXIST ? success_line(label, path, "Log directory exists")
                                  : failure_line(label, path, "Failed to create log directory", error);
}

}  // namespace

int process_zmulogdir(std::string category, const Values& values, Responses& responses, const char* action) {
    for (const std::string& value : values) {
        std::string name;
        std::string ignored_permission;  // the library chooses the mode
        split_lhs_rhs(value, name, ignored_permission);
        answer(product_tag, set_up_product_directory(process_label(category, name), name, action), responses);
    }
    return status::success;
}

int process_mmlogdir(std::string category, const Values& values, Responses& responses, const char* action) {
    const std::string root = log_root::volume_manager;
    // The root is created whatever the action, and even if there are no values.
    if (mkdir(root.c_str(), volume_manager_mode) != 0 && errno != EEXIST) {
        const SystemError error;
        answer(volume_manager_tag, failure_line(process_label(category, "ALL"), root, "Failed to create", error),
               responses);
        return status::failure;
    }
    for (const std::string& name : values) {
        const std::string path = root + "/" + name;
        answer(volume_manager_tag, set_up_volume_manager_directory(process_label(category, name), path, action),
               responses);
    }
    return status::success;
}
