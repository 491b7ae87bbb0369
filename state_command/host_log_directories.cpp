#include "state_command/host_log_directories.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <string_view>

#include "logging_config/settings.h"
#include "platform/library/trusted_folder.h"
#include "platform/posix.h"
#include "state_command/tree.h"

const LogRoot log_roots[log_root_count] = {
    {category::zmlogdir, log_root::product},
    {category::mmlogdir, log_root::volume_manager},
};

namespace {

bool is_agents_own(const std::string& path) {
    const std::string root = std::string(log_root::product) + "/";
    return path == root + product_files::agent_log_folder || path == root + product_files::evidence_folder;
}

LogDirectory directory_of(const std::string& path, const struct stat& state) {
    return {path, state.st_mode & ALLPERMS, state.st_uid, state.st_gid};
}

class Listing {
  public:
    explicit Listing(Problems& problems) : problems_(problems) {}

    void list_root(const std::string& path) {
        const Descriptor root = platform_library::open_folder(path).descriptor;
        if (root.valid()) {
            list(root.get(), ".", path, Place::root);
        } else {
            note(path, errno);
        }
    }

    std::vector<LogDirectory> take() { return std::move(found_); }

  private:
    enum class Place { root, below_root };

    // Lists the directories below the folder, relative to the open folder above it, so that it never follows a link.
    void list(int parent, const char* name, const std::string& path, Place place) {
        Descriptor file(openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
        const Directory folder(file.valid() ? fdopendir(file.get()) : nullptr);
        if (!folder) {
            note(path, errno);
            return;
        }
        file.release();
        const FolderNames entries = names_in(folder.get());
        for (const std::string& entry : entries.names) {
            add(dirfd(folder.get()), entry, path + "/" + entry, place);
        }
        if (entries.error != 0) {
            note(path, entries.error);
        }
    }

    void add(int folder, const std::string& name, const std::string& path, Place place) {
        struct stat state {};
        if (is_agents_own(path)) {
            return;
        }
        if (fstatat(folder, name.c_str(), &state, AT_SYMLINK_NOFOLLOW) != 0) {
            note(path, errno);
            return;
        }
        if (S_ISDIR(state.st_mode)) {
            add_directory(folder, name, directory_of(path, state));
        } else if (place == Place::root && S_ISLNK(state.st_mode) && fstatat(folder, name.c_str(), &state, 0) == 0 &&
                   S_ISDIR(state.st_mode)) {
            found_.push_back(directory_of(path, state));
            found_.back().is_link = true;
        }
    }

    // No component can use a directory whose path is too long for a system call. The limit also keeps other users from
    // exhausting this process's stack and memory with directories in directories.
    void add_directory(int folder, const std::string& name, const LogDirectory& directory) {
        if (directory.path.size() >= PATH_MAX) {
            note(directory.path, ENAMETOOLONG);
            return;
        }
        found_.push_back(directory);
        list(folder, name.c_str(), directory.path, Place::below_root);
    }

    // Something that is missing was removed in the meantime.
    void note(const std::string& path, int error) {
        if (error != ENOENT && error != ENOTDIR) {
            add_problem(problems_, {path, error});
        }
    }

    Problems& problems_;
    std::vector<LogDirectory> found_;
};

}  // namespace

std::vector<LogDirectory> list_log_directories(const LogRoot& root, Problems& problems) {
    Listing listing(problems);
    listing.list_root(root.path);
    return listing.take();
}

std::vector<LogDirectory> list_root(const LogRoot& root, Problems& problems) {
    const Descriptor folder = platform_library::open_folder(root.path).descriptor;
    struct stat state {};
    if (!folder.valid() || fstat(folder.get(), &state) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) {
            add_problem(problems, {root.path, errno});
        }
        return {};
    }
    return {directory_of(root.path, state)};
}

bool is_log_directory_place(const std::string& path) {
    const auto is_in = [&](const std::string& folder) { return (path + "/").starts_with(folder + "/"); };
    const std::string root = std::string(log_root::product) + "/";
    if (is_in(root + product_files::agent_log_folder) || is_in(root + product_files::evidence_folder)) {
        return false;
    }
    return std::any_of(std::begin(log_roots), std::end(log_roots),
                       [&](const LogRoot& log_root) { return path != log_root.path && is_in(log_root.path); });
}
