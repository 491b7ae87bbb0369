#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/library/statuses.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

namespace own = platform_library::status;

struct StatusText {
    int status;
    const char* text;
};

// The texts of the product's statuses. Each says what went wrong and, where that helps, what to look at. No two are the
// same.
constexpr std::array catalogue = {
    StatusText{status::success, "the requested operation was successfully completed"},
    StatusText{status::failure, "the requested operation was only partly or not carried out; see the lines above"},
    StatusText{status::peer_closed, "the peer had closed the connection or sent more data when the tool ended"},
    StatusText{status::tool_killed, "the tool was ended by a signal; see the debug log of zmlogadmagent"},
    StatusText{status::tool_not_executed, "the tool could not be executed; see whether its file is installed"},
    StatusText{status::peer_not_root, "the peer's user is not known to be root; run the command as root"},
    StatusText{status::socket_not_nonblocking, "the connection could not be made non-blocking"},
    StatusText{status::peer_not_a_server, "the peer host is not in the SERVER list of qr.conf"},
    StatusText{status::request_not_received, "the request could not be received; see the debug log of zmlogadmagent"},
    StatusText{status::command_not_valid, "the command word is not valid"},
    StatusText{status::fork_failed, "no process could be started for the tool"},
    StatusText{status::wait_failed, "the end of the tool could not be waited for"},
    StatusText{status::ktul_not_loaded, "a unified logging configuration could not be loaded"},
    StatusText{status::directory_failed, "a directory could not be opened, examined or removed"},
    StatusText{status::output_not_sent, "output could not be sent to the peer in full"},
    StatusText{status::parameter_not_set, "a parameter of a configuration file could not be set"},
    StatusText{status::parameter_not_unset, "a parameter of a configuration file could not be removed"},
    StatusText{status::registry_without_file, "the deduplication registry names no configuration file"},
    StatusText{status::kob_arguments_not_valid,
               "the arguments of the KOB category are not valid; expected is kob=LEVEL, 0 to 10"},
    StatusText{status::collection_directory_not_created,
               "the collection directory could not be created; see whether its parent exists"},
    StatusText{status::cleanup_refused, "the directory is not a collection result and was not cleaned up"},
    StatusText{status::logging_argument_not_valid, "a logging argument is not of the form CATEGORY:VALUE,VALUE"},
    StatusText{own::configuration_not_read, "the main configuration qr.conf could not be read"},
    StatusText{own::configuration_text_not_valid, "a key or value is not one that qr.conf may be given"},
    StatusText{own::peer_not_examined, "the connection's peer could not be identified"},
    StatusText{own::logging_store_not_read, "the product's unified logging store could not be read"},
    StatusText{own::logging_level_not_valid, "the originator's entry in the unified logging store is not a number"},
    // The system's text for EEXIST does not name the file.
    StatusText{
        own::configuration_not_updated + EEXIST,
        "the main configuration qr.conf could not be updated (6017): something else has the name of its new file, "
        ".qr.conf.new in the same folder; look at it and move it away"},
};

}  // namespace

const char* getECmsg(int status) {
    for (const StatusText& row : catalogue) {
        if (row.status == status) {
            return row.text;
        }
    }
    static std::array<char, 128> text;
    if (status > own::configuration_not_updated && status <= own::last_configuration_not_updated) {
        snprintf(text.data(), text.size(), "the main configuration qr.conf could not be updated (%d): %s", status,
                 strerror(status - own::configuration_not_updated));
    } else {
        snprintf(text.data(), text.size(), "status %d, which has no text of its own", status);
    }
    return text.data();
}
