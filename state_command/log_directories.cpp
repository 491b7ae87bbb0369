#include "state_command/log_directories.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "logging_config/settings.h"
#include "platform/posix.h"

const LogRoot log_roots[log_root_count] = {
    {category::zmlogdir, log_root::product},
    {category::mmlogdir, log_root::volume_manager},
};

namespace {

bool is_agents_own(const std::string& path) {
    const std::string root = std::string(log_root::product) + "/";
    return path == root + product_files::agent_log_folder || path == root + product_files::evidence_folder;
}

std::vector<std::string> names_in(DIR* folder, int& error) {
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    error = errno;
    std::sort(names.begin(), names.end());
    return names;
}

LogDirectory directory_of(const std::string& path, const struct stat& state) {
    return {path, state.st_mode & ALLPERMS, state.st_uid, state.st_gid};
}

class Listing {
  public:
    explicit Listing(Problems& problems) : problems_(problems) {}

    // Lists what is below the folder, relative to the folder held open, so that a link is never followed.
    void list(int parent, const char* name, const std::string& path, bool is_root) {
        const int follow = is_root ? 0 : O_NOFOLLOW;
        Descriptor file(openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | follow));
        const Directory folder(file.valid() ? fdopendir(file.get()) : nullptr);
        if (!folder) {
            note(path, errno);
            return;
        }
        file.release();
        int error = 0;
        for (const std::string& entry : names_in(folder.get(), error)) {
            add(dirfd(folder.get()), entry, path + "/" + entry, is_root);
        }
        if (error != 0) {
            note(path, error);
        }
    }

    std::vector<LogDirectory> take() { return std::move(found_); }

  private:
    void add(int folder, const std::string& name, const std::string& path, bool in_root) {
        struct stat state {};
        if (is_agents_own(path)) {
            return;
        }
        if (fstatat(folder, name.c_str(), &state, AT_SYMLINK_NOFOLLOW) != 0) {
            note(path, errno);
            return;
        }
        if (S_ISDIR(state.st_mode)) {
            found_.push_back(directory_of(path, state));
            list(folder, name.c_str(), path, false);
        } else if (in_root && S_ISLNK(state.st_mode) && fstatat(folder, name.c_str(), &state, 0) == 0 &&
                   S_ISDIR(state.st_mode)) {
            found_.push_back(directory_of(path, state));
            found_.back().is_link = true;
        }
    }

    // What is missing is gone meanwhile.
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
    listing.list(AT_FDCWD, root.path, root.path, true);
    return listing.take();
}

std::vector<LogDirectory> list_root(const LogRoot& root, Problems& problems) {
    struct stat state {};
    if (stat(root.path, &state) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) {
            add_problem(problems, {root.path, errno});
        }
        return {};
    }
    return S_ISDIR(state.st_mode) ? std::vector{directory_of(root.path, state)} : std::vector<LogDirectory>();
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
