#include "tests/end_to_end/collection_messages.h"

#include <cerrno>
#include <cstring>

#include "tests/end_to_end/tool_messages.h"

using log_level::error;
using log_level::information;

LogLine chosen(const std::string& collection) {
    return {information, "get_zmcplogs_temp_destdir",
            "zmcplogs/zmsu o/p dir: " + collection + "/<temporary>, collect dir:" + collection};
}

LogLine not_created(const std::string& collection) {
    return {error, "get_zmcplogs_temp_destdir",
            "Failed to create DIR=" + collection + " E=2 (" + strerror(ENOENT) + ")"};
}

std::vector<LogLine> cleanup_required(int status) {
    return {{error, "zmlogadmagent", "Received NSC=" + std::to_string(status) + " (<text>). Cleanup required"}};
}

std::vector<LogLine> cleaning_up(int status, const std::string& temporary) {
    return cleanup_required(status) +
           std::vector<LogLine>{{information, "perform_cleanup_on_failure", "cleaning up: " + temporary}};
}

LogLine removing(const std::string& directory) {
    return {information, "remove_directory", "Removing directory (" + directory + ") Option(1)"};
}

LogLine missing_directory(const char* tag, const std::string& directory) {
    return {error, tag, "Failed to open dir: " + directory + " E=2 (" + strerror(ENOENT) + ")"};
}
