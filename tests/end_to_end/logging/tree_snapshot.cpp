#include "tests/end_to_end/logging/tree_snapshot.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

namespace fs = std::filesystem;

TreeSnapshot::TreeSnapshot() {
    for (const char* folder : {"/usr/kumel", "/opt", "/tmp"}) {
        for (fs::recursive_directory_iterator entry(folder); entry != fs::end(entry); ++entry) {
            if (entry->path() == logs_folder + "/zmlogadmagent") {
                entry.disable_recursion_pending();
            } else {
                add(entry->path());
            }
        }
    }
    if (exists("/etc/rkregistry.cfg")) {
        add("/etc/rkregistry.cfg");
    }
}

void TreeSnapshot::add(const std::string& path) {
    struct stat state {};
    if (lstat(path.c_str(), &state) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    Entry entry = {state.st_ino, state.st_mode, state.st_uid, state.st_gid, ""};
    if (S_ISREG(state.st_mode)) {
        entry.text = read_file(path);
    } else if (S_ISLNK(state.st_mode)) {
        entry.text = fs::read_symlink(path);
    }
    entries_[path] = entry;
}

std::vector<std::string> TreeSnapshot::changes_since(const TreeSnapshot& earlier) const {
    std::vector<std::string> paths;
    for (const auto& [path, entry] : entries_) {
        const auto found = earlier.entries_.find(path);
        if (found == earlier.entries_.end() || !(found->second == entry)) {
            paths.push_back(path);
        }
    }
    for (const auto& [path, entry] : earlier.entries_) {
        if (!entries_.contains(path)) {
            paths.push_back(path);
        }
    }
    return paths;
}
