#include "state_command/restore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "logging_config/settings.h"
#include "platform/library/file_owner.h"
#include "platform/library/put_back.h"
#include "platform/library/trusted_folder.h"
#include "platform/posix.h"
#include "platform/runtime.h"
#include "state_command/differences.h"
#include "state_command/failure.h"
#include "state_command/output.h"
#include "state_command/tree.h"

namespace {

std::string joined(const std::vector<std::string>& phrases) {
    std::string text;
    for (const std::string& phrase : phrases) {
        text += (text.empty() ? "" : "; ") + phrase;
    }
    return text;
}

std::string reason(int error) {
    return error == platform_library::untrusted_link ? reason_of(error) : strerror(error);
}

// Below a log root no link is followed.
std::string reason_of_directory(int error) {
    return error == ELOOP ? "its path goes through a link" : reason(error);
}

// Returns 0 or an error number.
int put_back(const std::string& path, const FileState& saved) {
    switch (saved.kind) {
        case FileState::Kind::missing:
            return platform_library::remove_file(path);
        case FileState::Kind::link:
            return platform_library::put_link(path, saved.text);
        case FileState::Kind::file:
        case FileState::Kind::unread:
            break;
    }
    return platform_library::put_file(path, {saved.text, saved.mode, saved.owner, saved.group, saved.attributes});
}

void restore_file(const FileDifference& difference) {
    const int error = put_back(difference.path, difference.saved);
    if (error != 0) {
        complain("cannot put " + difference.path + " back: " + reason(error));
        return;
    }
    const bool is_removed = difference.saved.kind == FileState::Kind::missing;
    print_line(difference.path + (is_removed ? ": removed" : ": put back") + " (" + joined(describe(difference)) + ")");
}

bool is_root(const std::string& path) {
    return std::any_of(std::begin(log_roots), std::end(log_roots),
                       [&](const LogRoot& root) { return path == root.path; });
}

// Returns the log root above the path, or an empty text.
std::string root_above(const std::string& path) {
    const auto* const root = std::find_if(std::begin(log_roots), std::end(log_roots), [&](const LogRoot& candidate) {
        return path.starts_with(std::string(candidate.path) + "/");
    });
    return root == std::end(log_roots) ? "" : root->path;
}

// Opens a folder in an open one. Sets errno to ELOOP when the name is a link.
Descriptor open_below(const Descriptor& folder, const std::string& name) {
    Descriptor below(openat(folder.get(), name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
    // Linux reports ENOTDIR for a link too.
    if (!below.valid() && errno == ENOTDIR) {
        struct stat state {};
        const bool is_link =
            fstatat(folder.get(), name.c_str(), &state, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(state.st_mode);
        errno = is_link ? ELOOP : ENOTDIR;
    }
    return below;
}

// Opens the folder that contains the log directory. The path of a log root may have links that no other user can have
// made. Below the root a component's user can own folders and make links to anywhere, so no link is followed.
Descriptor open_parent(const std::string& path) {
    const std::size_t last = path.rfind('/');
    const std::string start = is_root(path) ? path.substr(0, last + 1) : root_above(path);
    if (start.empty()) {
        errno = EINVAL;
        return {};
    }
    Descriptor folder = platform_library::open_folder(start).descriptor;
    std::size_t begin = start.size() + 1;
    while (folder.valid() && begin < last) {
        const std::size_t end = path.find('/', begin);
        folder = open_below(folder, path.substr(begin, end - begin));
        begin = end + 1;
    }
    return folder;
}

std::string last_component(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// Returns 0 or an error number.
int give_owner_and_mode(const Descriptor& made, const LogDirectory& directory) {
    if (const int error = platform_library::give_owner(made.get(), directory.owner, directory.group)) {
        return error;
    }
    return fchmod(made.get(), directory.mode) == 0 ? 0 : errno;
}

// Returns 0 or an error number. The directory has a temporary name until it has its owner and mode. After an error or a
// crash its name is still missing, so that the next restore makes it. That one also removes the temporary name, which
// is an empty log directory made since the save.
int make_again(const LogDirectory& directory) {
    const Descriptor parent = open_parent(directory.path);
    if (!parent.valid()) {
        return errno;
    }
    const std::string new_name = last_component(temporary_name("", ".zmlogstate"));
    const Descriptor made = make_folder_at(parent.get(), new_name);
    if (!made.valid()) {
        return errno;
    }
    int error = give_owner_and_mode(made, directory);
    if (error == 0) {
        error = rename_to_new_at(parent.get(), new_name, last_component(directory.path));
    }
    if (error != 0) {
        unlinkat(parent.get(), new_name.c_str(), AT_REMOVEDIR);
    }
    return error;
}

bool restore_gone(const LogDirectory& directory) {
    const int error = make_again(directory);
    if (error == 0) {
        print_line(directory.path + ": log directory made again, empty");
    } else {
        complain("cannot make " + directory.path + " again: " + reason_of_directory(error));
    }
    return error == 0;
}

// A directory comes before those in it. Those are not tried when the directory itself could not be made.
void restore_all_gone(const std::vector<LogDirectory>& gone) {
    std::vector<std::string> failed;
    for (const LogDirectory& directory : gone) {
        const auto above = std::find_if(failed.begin(), failed.end(), [&](const std::string& path) {
            return directory.path.starts_with(path + "/");
        });
        if (above != failed.end()) {
            complain("cannot make " + directory.path + " again: " + *above + " was not made");
        } else if (!restore_gone(directory)) {
            failed.push_back(directory.path);
        }
    }
}

void remove_made(const LogDirectory& directory, const RestoreOptions& options) {
    const Descriptor parent = open_parent(directory.path);
    const std::string name = last_component(directory.path);
    // A root can contain the agent's own folders, which are not log directories.
    const bool with_contents = options.remove_logs && !is_root(directory.path);
    const int error = !parent.valid() ? errno
                      : with_contents ? remove_tree_at(parent.get(), name)
                                      : remove_empty_tree_at(parent.get(), name);
    if (error == 0) {
        print_line(directory.path + ": log directory removed" + (with_contents ? ", with what it held" : ""));
    } else if (error == ENOTEMPTY) {
        print_line(directory.path + ": log directory left, it is not empty");
    } else {
        complain("cannot remove the log directory " + directory.path + ": " + reason_of_directory(error));
    }
}

// Removing a directory removes those in it too. The roots come last, because they are removed only when they are empty.
void remove_all_made(const std::vector<LogDirectory>& made, const RestoreOptions& options) {
    std::string last = "\n";
    for (const LogDirectory& directory : made) {
        if (!is_root(directory.path) && !directory.path.starts_with(last + "/")) {
            remove_made(directory, options);
            last = directory.path;
        }
    }
    for (const LogDirectory& directory : made) {
        if (is_root(directory.path)) {
            remove_made(directory, options);
        }
    }
}

// The key-value editor leaves NAME.new when its rename fails, or when the agent is killed before. A killed rewrite of
// the main configuration or the store leaves .NAME.new.
void report_stale_copies(const ProductState& saved) {
    for (const auto& [path, state] : saved.files) {
        const std::string name = last_component(path);
        const std::string folder = path.substr(0, path.size() - name.size());
        for (const std::string& copy : {path + ".new", folder + "." + name + ".new"}) {
            struct stat found {};
            if (lstat(copy.c_str(), &found) == 0) {
                print_line(copy + ": left by a change that was interrupted; not touched");
            }
        }
    }
}

}  // namespace

int restore(const ProductState& saved, const RestoreOptions& options) {
    const Differences differences = find_differences(saved);
    for (const FileDifference& difference : differences.files) {
        restore_file(difference);
    }
    remove_all_made(differences.made, options);
    restore_all_gone(differences.gone);
    report_stale_copies(saved);
    print_line(std::string(category::kob) + ":" + connection_broker::name +
               ": not put back, the level is not known: only the tool " + connection_broker::tool + " knows it");
    // A file can differ still, because it could not be put back or another process has changed it in the meantime.
    const Differences left = find_differences(saved);
    complain_of(left.problems);
    if (!left.empty()) {
        return exit_status::differs;
    }
    return left.problems.empty() ? exit_status::nothing_differs : exit_status::not_read;
}
