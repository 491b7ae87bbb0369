#include "commands/directory_queries.h"

#include <libgen.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstring>

#include "agent/answer_forms.h"
#include "agent/bounded_text.h"
#include "agent/response_channel.h"
#include "platform/posix.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"
#include "platform/system_error.h"

namespace {

constexpr std::size_t entry_path_size = 1024;
constexpr std::size_t listing_line_size = 2048;
constexpr std::size_t parent_path_size = 2048;
constexpr std::size_t space_line_size = 1024;
constexpr unsigned bytes_to_mebibytes_shift = 20;

bool send_whole(int socket, const std::string& line) {
    return socksend(socket, line.c_str(), line.size()) == static_cast<int>(line.size());
}

int send_package(const std::string& path, int socket) {
    const std::string line = bounded_print(listing_line_size, "%s%s\n", package_key, path.c_str());
    if (!send_whole(socket, line)) {
        logmsgf(log_level::error, "list_dir_and_send_output", "Failed to send ZMSU o/p FN (%s) rv=%d", line.c_str(),
                status::output_not_sent);
        return status::output_not_sent;
    }
    return status::success;
}

// Returns whether this user may examine entries of the directory. Finding "." needs the same permission.
bool is_searchable(DIR* directory) {
    struct stat state {};
    return fstatat(dirfd(directory), ".", &state, 0) == 0;
}

// Reports one entry of a listed directory, unless it is a directory itself. If `knows_files` is set, a plain file needs
// no stat: the type in `entry` is enough. Returns the status of list_dir_and_send_output.
int list_entry(const std::string& directory, const dirent& entry, bool knows_files, int socket) {
    const std::string path = bounded_print(entry_path_size, "%s%s%s", directory.c_str(), "/", entry.d_name);
    const bool is_whole = directory.size() + 1 + strlen(entry.d_name) < entry_path_size;
    if (knows_files && is_whole && entry.d_type == DT_REG) {
        return send_package(path, socket);
    }
    struct stat state {};
    // Follows links, because a package may be a link to a file elsewhere.
    if (stat(path.c_str(), &state) != 0) {
        const SystemError error;
        logmsgf(log_level::error, "list_dir_and_send_output", "Can't access %s rv=%d E=%d (%s)", path.c_str(),
                status::failure, error.number, error.text());
        return status::failure;
    }
    return S_ISDIR(state.st_mode) ? status::success : send_package(path, socket);
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// Sets `target` to the directory, or to its parent if only that exists. Goes up no further: a collection directory may
// not exist yet, but its parent must.
bool choose_space_target(const std::string& directory, std::string& target) {
    constexpr const char* tag = "calc_free_space_send_output";
    target = directory;
    if (exists(directory)) {
        return true;
    }
    std::string copy = bounded_copy(parent_path_size, directory);
    target = dirname(copy.data());
    if (!exists(target)) {
        logmsgf(log_level::error, tag, "Specified dir (%s) or parent dir (%s) does not exist", directory.c_str(),
                target.c_str());
        return false;
    }
    logmsgf(log_level::information, tag, "Specified dir (%s) does not exist, using parent dir %s", directory.c_str(),
            target.c_str());
    return true;
}

}  // namespace

int list_dir_and_send_output(std::string directory, int socket) {
    constexpr const char* tag = "list_dir_and_send_output";
    logmsgf(log_level::information, tag, "Opening dir:%s", directory.c_str());
    const Directory stream(opendir(directory.c_str()));
    if (!stream) {
        const SystemError error;
        logmsgf(log_level::error, tag, "Failed to open dir: %s E=%d (%s)", directory.c_str(), error.number,
                error.text());
        return status::directory_failed;
    }
    widen_sending_buffer(socket);
    const bool knows_files = is_searchable(stream.get());
    int result = status::success;
    // A read error ends the listing like the end of the directory.
    while (result == status::success) {
        const dirent* entry = readdir(stream.get());
        if (entry == nullptr) {
            break;
        }
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
            result = list_entry(directory, *entry, knows_files, socket);
        }
    }
    return result;
}

int calc_free_space_send_output(std::string directory, int socket) {
    constexpr const char* tag = "calc_free_space_send_output";
    logmsgf(log_level::information, tag, "Checking available space at %s", directory.c_str());
    if (directory.size() > 1 && directory.back() == '/') {
        directory.pop_back();
    }
    std::string target;
    if (!choose_space_target(directory, target)) {
        return status::directory_failed;
    }
    struct statvfs space {};
    if (statvfs(target.c_str(), &space) != 0) {
        const SystemError error;
        logmsgf(log_level::error, tag, "failed to get disk space D=%s E=%d %s", target.c_str(), error.number,
                error.text());
        return status::directory_failed;
    }
    // Counts in blocks of f_bsize. Free space is what an unprivileged user may use.
    const std::uint64_t block = space.f_bsize;
    const std::uint64_t free_space = (block * space.f_bavail) >> bytes_to_mebibytes_shift;
    const std::uint64_t total_space = (block * space.f_blocks) >> bytes_to_mebibytes_shift;
    const std::string line =
        bounded_print(space_line_size, "%s%s%s%" PRIu64 "%s%s%" PRIu64 "%s\n", space_key::directory, target.c_str(),
                      space_key::free, free_space, space_key::unit, space_key::total, total_space, space_key::unit);
    return send_whole(socket, line) ? status::success : status::output_not_sent;
}
