#include "commands/request_dispatcher.h"

#include <unistd.h>

#include <array>

#include "agent/command_words.h"
#include "agent/globals.h"
#include "commands/collection_directories.h"
#include "commands/directory_queries.h"
#include "commands/directory_removal.h"
#include "commands/external_commands.h"
#include "logging_config/logging_request.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

// A prepared request for a support tool: its arguments, and the directories in which it collects.
struct Collection {
    RequestVector request;
    std::string temporary;
    std::string directory;
};

int prepare_collection(const RequestVector& request, Collection& collection) {
    collection.request = request;
    return get_zmcplogs_temp_destdir(collection.request, GETZMLALOGDIR(), collection.temporary, collection.directory);
}

int run_zmcplogs(const RequestVector& request, int socket) {
    Collection collection;
    const int prepared = prepare_collection(request, collection);
    if (prepared != status::success) {
        return prepared;
    }
    collection.request.push_back(collection.temporary);
    g_termdir = collection.temporary;
    return execute_cmd_send_output(collection.request, socket);
}

int run_zmsu(const RequestVector& request, int socket) {
    Collection collection;
    const int prepared = prepare_collection(request, collection);
    if (prepared != status::success) {
        return prepared;
    }
    collection.request.emplace_back("-odir");
    collection.request.push_back(collection.temporary);
    g_termdir = collection.temporary;
    const int result = execute_cmd_send_output(collection.request, socket);
    if (result != status::success) {
        return result;
    }
    return list_dir_and_send_output(collection.temporary, socket);
}

// The tool only prints sizes, so its status is ignored and its directory is removed at once. g_termdir stays empty.
int calculate_log_size(const RequestVector& request, int socket) {
    Collection collection;
    const int prepared = prepare_collection(request, collection);
    if (prepared != status::success) {
        return prepared;
    }
    collection.request.push_back(collection.temporary);
    static_cast<void>(execute_cmd_send_output(collection.request, socket));
    const int result = calc_free_space_send_output(collection.directory, socket);
    if (access(collection.temporary.c_str(), F_OK) == 0) {
        static_cast<void>(remove_directory(collection.temporary.c_str(), recursively));
    }
    return result;
}

// Continues after a failure. Returns the status of the last directory.
int get_disk_space(const RequestVector& request, int socket) {
    int result = status::success;
    for (std::size_t i = 1; i < request.size(); ++i) {
        result = calc_free_space_send_output(request[i], socket);
    }
    return result;
}

int enable_logging(const RequestVector& request, int socket) {
    return handle_logging(request, socket, logging_action::enable);
}

int disable_logging(const RequestVector& request, int socket) {
    return handle_logging(request, socket, logging_action::disable);
}

int reset_logging(const RequestVector& request, int socket) {
    return handle_logging(request, socket, logging_action::reset);
}

struct RequestWord {
    const char* word;
    int (*handler)(const RequestVector& request, int socket);
};

constexpr std::array request_words = {
    RequestWord{command_word::enable_logging, enable_logging},
    RequestWord{command_word::disable_logging, disable_logging},
    RequestWord{command_word::reset_logging, reset_logging},
    RequestWord{command_word::run_zmcplogs, run_zmcplogs},
    RequestWord{command_word::run_zmsu, run_zmsu},
    RequestWord{command_word::calculate_log_size, calculate_log_size},
    RequestWord{command_word::get_disk_space, get_disk_space},
    RequestWord{command_word::run_zmlogadm, execute_cmd_send_output},
    RequestWord{command_word::clean_up, perform_cleanup_zmladir},
};
static_assert(request_words.size() + 1 == command_word::built_in.size(), "only FETCHFILE has no handler");

}  // namespace

int perform_request_send_output(const RequestVector& request, int socket) {
    for (const RequestWord& row : request_words) {
        if (request[0] == row.word) {
            return row.handler(request, socket);
        }
    }
    // FETCHFILE is accepted but has no handler yet. It succeeds and is only logged.
    logmsgf(log_level::error, "perform_request_send_output", "Command %s is not supported", request[0].c_str());
    return status::success;
}
