#include "state_command/product_state.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <optional>
#include <string_view>

#include "platform/posix.h"
#include "state_command/changed_files.h"
#include "state_command/host.h"

namespace {

// Tells whether nobody but root or this user can have put the link there. Folder and link are read relative to one open
// folder, lest another one takes its place in between.
bool is_trusted_link(const std::string& path, const std::string& target) {
    const std::size_t slash = path.rfind('/');
    const Descriptor folder(open(path.substr(0, slash + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat state {};
    if (!folder.valid() || fstat(folder.get(), &state) != 0 || (state.st_uid != 0 && state.st_uid != geteuid()) ||
        (state.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return false;
    }
    std::array<char, PATH_MAX> text;
    const ssize_t size = readlinkat(folder.get(), path.substr(slash + 1).c_str(), text.data(), text.size());
    return size >= 0 && std::string_view(text.data(), static_cast<std::size_t>(size)) == target;
}

// The names of the files that requests change, and those that they lead to.
class Files {
  public:
    // Adds one that was not read, unless it is known. Returns whether it was added.
    bool add_unread(const Problem& problem) {
        FileState unread;
        unread.kind = FileState::Kind::unread;
        unread.error = problem.error;
        return files_.emplace(problem.path, unread).second;
    }

    // Adds the name, and while it is a link those that it leads to.
    void add(std::string path, Problems& problems) {
        while (files_.count(path) == 0) {
            FileState& state = files_[path] = read_file_state(path);
            if (state.kind == FileState::Kind::unread) {
                add_problem(problems, {path, state.error});
            }
            if (state.kind != FileState::Kind::link) {
                return;
            }
            const std::string folder = path.substr(0, path.rfind('/') + 1);
            const std::optional<std::string> target =
                place_of(state.text.starts_with('/') ? state.text : folder + state.text);
            if (!target) {
                return;
            }
            if (!is_trusted_link(path, state.text)) {
                untrusted_.push_back(*target);
                return;
            }
            path = *target;
        }
    }

    // Returns the files. Those that only untrusted links lead to are among them as unread, and problems.
    std::map<std::string, FileState> take(Problems& problems) {
        for (const std::string& target : untrusted_) {
            const Problem problem = {target, error_of_untrusted_link};
            if (add_unread(problem)) {
                add_problem(problems, problem);
            }
        }
        return std::move(files_);
    }

  private:
    std::map<std::string, FileState> files_;
    std::vector<std::string> untrusted_;
};

}  // namespace

void read_log_directories(ProductState& state, Problems& problems) {
    Problems found;
    for (const LogRoot& root : log_roots) {
        for (const LogDirectory& directory : list_root(root, found)) {
            state.log_directories[directory.path] = directory;
        }
        for (const LogDirectory& directory : list_log_directories(root, found)) {
            if (!directory.is_link) {
                state.log_directories[directory.path] = directory;
            }
        }
    }
    for (const Problem& problem : found) {
        state.unread_directories[problem.path] = problem.error;
    }
    problems.insert(problems.end(), found.begin(), found.end());
}

ProductState read_product_state(Problems& problems) {
    ProductState state;
    state.host = host_name();
    state.time = time_now();
    const std::vector<std::string> paths = changed_files(problems);
    Files files;
    // A registry that was not read names a file that is not saved.
    for (const Problem& problem : problems) {
        files.add_unread(problem);
    }
    for (const std::string& path : paths) {
        files.add(path, problems);
    }
    state.files = files.take(problems);
    read_log_directories(state, problems);
    return state;
}

bool is_unread(const ProductState& state, const std::string& path) {
    return std::any_of(state.unread_directories.begin(), state.unread_directories.end(),
                       [&](const auto& unread) { return (path + "/").starts_with(unread.first + "/"); });
}
