#include "logging_config/log_directories.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "agent/bounded_text.h"
#include "agent/command_words.h"
#include "agent/status.h"
#include "agent/string_utilities.h"
#include "agent/system_error.h"
#include "logging_config/settings.h"
#include "platform/runtime.h"

namespace {

constexpr std::size_t line_size = 1024;
constexpr mode_t volume_manager_mode = 0755;

bool is_enable(const char* action) {
    return strcmp(action, logging_action::enable) == 0;
}

void set_up_product_directory(const std::string& category, const std::string& value, Responses& responses,
                              const char* action) {
    constexpr const char* tag = "process_zmulogdir";
    std::string name;
    std::string ignored_permission = "755";  // the library alone chooses the mode
    split_lhs_rhs(value, name, ignored_permission);
    const std::string path = std::string(log_root::product) + "/" + name;
    const char* success = "Set up log directory";
    int error = 0;
    short mode = 0;
    if (is_enable(action)) {
        mode = getDirCreationMode(name.c_str());
        if (mklogdirpath(path.c_str(), mode, &error) != 0) {
            logmsgf(log_level::error, tag, "Error received while creating log directory %s : %d", name.c_str(), error);
        } else if (error == EEXIST) {
            error = 0;
            success = "Log directory exists";
        }
    } else {
        logmsgf(log_level::error, tag, "Invalid action=%s", action);
    }
    // The error code alone decides, not the library's result; and what is told of it is errno, not the code.
    if (error != 0) {
        const SystemError last;
        respond(log_level::error, tag,
                bounded_print(line_size, "PROCESS=%s:%s STATUS=%d MSG=%s DIR=%s E=%d (%s)\n", category.c_str(),
                              name.c_str(), status::failure, "Failed to create log directory", path.c_str(),
                              last.number, last.text()),
                responses);
    } else {
        respond(log_level::information, tag,
                bounded_print(line_size, "PROCESS=%s:%s STATUS=%d MSG=%s DIR=%s Perm=%o\n", category.c_str(),
                              name.c_str(), status::success, success, path.c_str(), static_cast<unsigned>(mode)),
                responses);
    }
}

// Sets `success` to what is told of a value that did not fail. Returns false, with errno, when a directory could not
// be created.
bool make_volume_manager_directory(const std::string& path, const char* action, const char*& success) {
    if (!is_enable(action)) {
        logmsgf(log_level::error, "process_mmlogdir", "Invalid action=%s", action);
        success = "";
        return true;
    }
    success = "Set up log directory";
    if (mkdir(path.c_str(), volume_manager_mode) == 0) {
        return true;
    }
    success = "Log directory exists";
    return errno == EEXIST;
}

void set_up_volume_manager_directory(const std::string& category, const std::string& name, const std::string& root,
                                     Responses& responses, const char* action) {
    constexpr const char* tag = "process_mmlogdir";
    const std::string path = root + "/" + name;
    logmsgf(log_level::information, tag, "Action=%s, DIR=%s", action, path.c_str());
    const char* success = nullptr;
    if (make_volume_manager_directory(path, action, success)) {
        respond(log_level::information, tag,
                bounded_print(line_size, "PROCESS=%s:%s STATUS=%d MSG=%s DIR=%s\n", category.c_str(), name.c_str(),
                              status::success, success, path.c_str()),
                responses);
    } else {
        const SystemError error;
        respond(log_level::error, tag,
                bounded_print(line_size, "PROCESS=%s:%s STATUS=%d MSG=%s DIR=%s E=%d (%s)\n", category.c_str(),
                              name.c_str(), status::failure, "Failed to create log directory", path.c_str(),
                              error.number, error.text()),
                responses);
    }
}

}  // namespace

int process_zmulogdir(std::string category, const Values& values, Responses& responses, const char* action) {
    for (const std::string& value : values) {
        set_up_product_directory(category, value, responses, action);
    }
    return status::success;
}

int process_mmlogdir(std::string category, const Values& values, Responses& responses, const char* action) {
    constexpr const char* tag = "process_mmlogdir";
    const std::string root = log_root::volume_manager;
    // The root is made whatever the action, and also when no value needs it.
    if (mkdir(root.c_str(), volume_manager_mode) != 0 && errno != EEXIST) {
        const SystemError error;
        respond(log_level::error, tag,
                bounded_print(line_size, "PROCESS=%s:ALL STATUS=%d MSG=%s DIR=%s E=%d (%s)\n", category.c_str(),
                              status::failure, "Failed to create", root.c_str(), error.number, error.text()),
                responses);
        return status::failure;
    }
    for (const std::string& name : values) {
        set_up_volume_manager_directory(category, name, root, responses, action);
    }
    return status::success;
}
