#include "state_command/product_state.h"

#include <algorithm>
#include <optional>

#include "platform/library/trusted_folder.h"
#include "state_command/changed_files.h"
#include "state_command/host.h"

namespace {

// The files that requests change, and the targets of links among them.
class Files {
  public:
    // Adds a file that was not read, unless the file is known. Returns whether it added the file.
    bool add_unread(const Problem& problem) {
        FileState unread;
        unread.kind = FileState::Kind::unread;
        unread.error = problem.error;
        return files_.emplace(problem.path, unread).second;
    }

    // Adds the file, and when it is a link also the link's target.
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
                place_of(state.text.starts_with('/') ? state.text : folder + state.text, untrusted_);
            if (!target) {
                return;
            }
            if (!state.is_trusted) {
                add_problem(untrusted_, {*target, platform_library::untrusted_link});
                return;
            }
            path = *target;
        }
    }

    // Returns the files. A file that only untrusted links lead to is unread, and a problem.
    std::map<std::string, FileState> take(Problems& problems) {
        for (const Problem& problem : untrusted_) {
            if (add_unread(problem)) {
                add_problem(problems, problem);
            }
        }
        return std::move(files_);
    }

  private:
    std::map<std::string, FileState> files_;
    Problems untrusted_;
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
    // When the registry cannot be read, the file that it names is not saved.
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
