#include "state_command/product_state.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "state_command/changed_files.h"
#include "state_command/host.h"

namespace {

// Adds the name, and while it is a link those that it leads to.
void add_file(std::map<std::string, FileState>& files, std::string path, Problems& problems) {
    while (files.count(path) == 0) {
        FileState& state = files[path] = read_file_state(path);
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
        path = *target;
    }
}

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
    // A registry that was not read names a file that is not saved.
    for (const Problem& problem : problems) {
        FileState& registry = state.files[problem.path];
        registry.kind = FileState::Kind::unread;
        registry.error = problem.error;
    }
    for (const std::string& path : paths) {
        add_file(state.files, path, problems);
    }
    read_log_directories(state, problems);
    return state;
}

bool is_unread(const ProductState& state, const std::string& path) {
    return std::any_of(state.unread_directories.begin(), state.unread_directories.end(),
                       [&](const auto& unread) { return (path + "/").starts_with(unread.first + "/"); });
}
