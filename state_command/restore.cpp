#include "state_command/restore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "logging_config/settings.h"
#include "platform/library/put_back.h"
#include "platform/posix.h"
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
        complain("cannot put " + difference.path + " back: " + strerror(error));
        return;
    }
    const bool is_removed = difference.saved.kind == FileState::Kind::missing;
    print_line(difference.path + (is_removed ? ": removed" : ": put back") + " (" + joined(describe(difference)) + ")");
}

Descriptor open_parent(const std::string& path) {
    return Descriptor(open(path.substr(0, path.rfind('/') + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

// Returns 0 or an error number.
int make_again(const LogDirectory& directory) {
    const Descriptor parent = open_parent(directory.path);
    const std::string name = directory.path.substr(directory.path.rfind('/') + 1);
    constexpr mode_t private_mode = 0700;
    if (!parent.valid() || mkdirat(parent.get(), name.c_str(), private_mode) != 0) {
        return errno;
    }
    const Descriptor made(openat(parent.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
    if (!made.valid()) {
        return errno;
    }
    struct stat state {};
    const bool has_owner =
        fstat(made.get(), &state) == 0 && state.st_uid == directory.owner && state.st_gid == directory.group;
    if (!has_owner && fchown(made.get(), directory.owner, directory.group) != 0) {
        return errno;
    }
    return fchmod(made.get(), directory.mode) == 0 ? 0 : errno;
}

void restore_gone(const LogDirectory& directory) {
    const int error = make_again(directory);
    if (error == 0) {
        print_line(directory.path + ": log directory made again, empty");
    } else {
        complain("cannot make " + directory.path + " again: " + strerror(error));
    }
}

bool is_root(const std::string& path) {
    return std::any_of(std::begin(log_roots), std::end(log_roots),
                       [&](const LogRoot& root) { return path == root.path; });
}

void remove_made(const LogDirectory& directory, const RestoreOptions& options) {
    const Descriptor parent = open_parent(directory.path);
    const std::string name = directory.path.substr(directory.path.rfind('/') + 1);
    // A root may hold what is no log directory: the agent's own folders.
    const bool with_contents = options.remove_logs && !is_root(directory.path);
    const int error = !parent.valid() ? errno
                      : with_contents ? remove_tree_at(parent.get(), name)
                                      : remove_empty_tree_at(parent.get(), name);
    if (error == 0) {
        print_line(directory.path + ": log directory removed" + (with_contents ? ", with what it held" : ""));
    } else if (error == ENOTEMPTY) {
        print_line(directory.path + ": log directory left, it is not empty");
    } else {
        complain("cannot remove the log directory " + directory.path + ": " + strerror(error));
    }
}

// Those in others go with these; the roots come last, for they are not removed with what they hold.
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

// What the key-value editor leaves when its rename fails, or when the agent is killed before.
void report_stale_copies(const ProductState& saved) {
    for (const auto& [path, state] : saved.files) {
        const std::string copy = path + ".new";
        struct stat found {};
        if (lstat(copy.c_str(), &found) == 0) {
            print_line(copy + ": left by a change that was interrupted; not touched");
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
    for (const LogDirectory& directory : differences.gone) {
        restore_gone(directory);
    }
    report_stale_copies(saved);
    print_line(std::string(category::kob) + ":" + connection_broker::name +
               ": not put back, the level is not known: only the tool " + connection_broker::tool + " knows it");
    // What has been changed by others meanwhile, or could not be put back, differs still.
    const Differences left = find_differences(saved);
    complain_of(left.problems);
    if (!left.empty()) {
        return exit_status::differs;
    }
    return left.problems.empty() ? exit_status::nothing_differs : exit_status::not_read;
}
