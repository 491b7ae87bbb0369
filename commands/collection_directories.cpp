#include "commands/collection_directories.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "agent/answer_forms.h"
#include "agent/response_channel.h"
#include "agent/string_utilities.h"
#include "commands/directory_removal.h"
#include "platform/product_files.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"
#include "platform/system_error.h"

namespace {

constexpr const char* collection_prefix = "zmla";
constexpr std::size_t default_directory_size = 1024;
constexpr mode_t collection_mode = 0755;

// Returns the message about a base name that is not "zmla-", 29 digits, "-" and 6 characters, as collection results
// have, or null if it is.
const char* find_name_error(const std::string& name) {
    constexpr std::size_t middle_length = 29;
    constexpr std::size_t end_length = 6;
    std::vector<std::string> pieces;
    split_string(name, '-', pieces);
    if (pieces.size() != 3) {
        return "Does not match expected format";
    }
    if (pieces[0] != collection_prefix) {
        return "Expected directory prefix is missing";
    }
    if (pieces[1].size() != middle_length) {
        return "The middle is not 29 chars";
    }
    if (pieces[1].find_first_not_of("0123456789") != std::string::npos) {
        return "The middle is not all digits";
    }
    if (pieces[2].size() != end_length) {
        return "The end is not 6 chars";
    }
    return nullptr;
}

bool is_valid_zmladir(const std::string& directory) {
    constexpr const char* tag = "is_valid_zmladir";
    if (directory.empty()) {
        logmsgf(log_level::error, tag, "Directory path is empty!");
        return false;
    }
    if (const char* error = find_name_error(get_basename(directory))) {
        logmsgf(log_level::error, tag, "Invalid directory (ERR=%s): %s", error, directory.c_str());
        return false;
    }
    logmsgf(log_level::information, tag, "Directory valid for removal: %s", directory.c_str());
    return true;
}

// Removes one directory if its name is valid. Sets `answer` to the line for the peer, without newline. Returns the
// status.
int clean_up_directory(const std::string& directory, std::string& answer) {
    if (!is_valid_zmladir(directory)) {
        answer = cleanup_key::refused + directory;
        return status::cleanup_refused;
    }
    const int result = remove_directory(directory.c_str(), plain_files_only);
    const SystemError error;
    if (result == status::success) {
        answer = cleanup_key::removed + directory;
    } else {
        answer = cleanup_key::failed + directory + cleanup_key::error + error.text();
    }
    return result;
}

}  // namespace

const char* GETZMLALOGDIR() {
    static std::array<char, default_directory_size> directory;
    if (directory[0] == '\0') {
        snprintf(directory.data(), directory.size(), "%s%s%s", product_files::log_root, "/",
                 product_files::evidence_folder);
    }
    return directory.data();
}

int get_zmcplogs_temp_destdir(RequestVector& args, const char* default_dir, std::string& temporary,
                              std::string& collection) {
    constexpr const char* tag = "get_zmcplogs_temp_destdir";
    std::string directory = default_dir;
    const auto option = std::find(args.begin(), args.end(), "--collectdir");
    if (option != args.end() && option + 1 != args.end()) {
        directory = option[1];
        args.erase(option, option + 2);
    }
    if (mkdir(directory.c_str(), collection_mode) != 0 && errno != EEXIST) {
        const SystemError error;
        logmsgf(log_level::error, tag, "Failed to create DIR=%s E=%d (%s)", directory.c_str(), error.number,
                error.text());
        return status::collection_directory_not_created;
    }
    collection = directory;
    temporary = temporary_name(directory, collection_prefix);
    logmsgf(log_level::information, tag, "zmcplogs/zmsu o/p dir: %s, collect dir:%s", temporary.c_str(),
            collection.c_str());
    return status::success;
}

int perform_cleanup_zmladir(const RequestVector& request, int socket) {
    constexpr const char* tag = "perform_cleanup_zmladir";
    int result = status::success;
    for (std::size_t i = 1; i < request.size(); ++i) {
        std::string answer;
        result = clean_up_directory(request[i], answer);
        // Logged at error level even after a success, so that removals are visible.
        logmsgf(log_level::error, tag, "Cleanup result D=%s #D=%d NSC=%d M=%s", request[i].c_str(), static_cast<int>(i),
                result, answer.c_str());
        answer += '\n';
        if (socksend(socket, answer.c_str(), answer.size()) < static_cast<int>(answer.size())) {
            logmsgf(log_level::error, tag, "clean up response send failed RV=%d", status::output_not_sent);
            return status::output_not_sent;
        }
    }
    return result;
}
