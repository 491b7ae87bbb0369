#include "state_command/tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/posix.h"

namespace {

struct Entry {
    std::string name;
    bool is_folder;
};

// Returns 0 or an error number.
int list_entries(int folder, std::vector<Entry>& entries) {
    Descriptor copy(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const Directory stream(copy.valid() ? fdopendir(copy.get()) : nullptr);
    if (!stream) {
        return errno;
    }
    copy.release();
    errno = 0;
    while (const dirent* entry = readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        struct stat state {};
        if (name != "." && name != "..") {
            if (fstatat(folder, entry->d_name, &state, AT_SYMLINK_NOFOLLOW) == 0) {
                entries.push_back({std::string(name), S_ISDIR(state.st_mode)});
            } else if (errno != ENOENT) {
                return errno;
            }
        }
        errno = 0;
    }
    return errno;
}

// Opens the folder, unless another file system is mounted there: that is not this folder's to remove.
int open_below(int parent, const std::string& name, Descriptor& folder) {
    struct stat above {};
    struct stat below {};
    folder.reset(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
    if (!folder.valid() || fstat(parent, &above) != 0 || fstat(folder.get(), &below) != 0) {
        return errno;
    }
    return above.st_dev == below.st_dev ? 0 : EBUSY;
}

int remove_at(int parent, const std::string& name, int flags) {
    return unlinkat(parent, name.c_str(), flags) == 0 || errno == ENOENT ? 0 : errno;
}

// Finds out whether the folder holds nothing but such folders.
int check_empty_tree(int parent, const std::string& name) {
    Descriptor folder;
    if (const int error = open_below(parent, name, folder)) {
        return error == ENOENT ? 0 : error;  // gone meanwhile
    }
    std::vector<Entry> entries;
    if (const int error = list_entries(folder.get(), entries)) {
        return error;
    }
    for (const Entry& entry : entries) {
        const int error = entry.is_folder ? check_empty_tree(folder.get(), entry.name) : ENOTEMPTY;
        if (error != 0) {
            return error;
        }
    }
    return 0;
}

// Removes folders only: a file that has come meanwhile keeps its folder.
int remove_folders(int parent, const std::string& name) {
    Descriptor folder;
    if (const int error = open_below(parent, name, folder)) {
        return error == ENOENT ? 0 : error;  // gone meanwhile
    }
    std::vector<std::string> names;
    if (const int error = list_folders(folder.get(), names)) {
        return error;
    }
    for (const std::string& entry : names) {
        if (const int error = remove_folders(folder.get(), entry)) {
            return error;
        }
    }
    return remove_at(parent, name, AT_REMOVEDIR);
}

}  // namespace

int list_folders(int folder, std::vector<std::string>& names) {
    std::vector<Entry> entries;
    if (const int error = list_entries(folder, entries)) {
        return error;
    }
    for (const Entry& entry : entries) {
        if (entry.is_folder) {
            names.push_back(entry.name);
        }
    }
    return 0;
}

int remove_tree_at(int parent, const std::string& name) {
    Descriptor folder;
    if (const int error = open_below(parent, name, folder)) {
        return error == ENOENT ? 0 : error;  // gone meanwhile
    }
    std::vector<Entry> entries;
    int first_error = list_entries(folder.get(), entries);
    for (const Entry& entry : entries) {
        const int error =
            entry.is_folder ? remove_tree_at(folder.get(), entry.name) : remove_at(folder.get(), entry.name, 0);
        first_error = first_error == 0 ? error : first_error;
    }
    const int error = remove_at(parent, name, AT_REMOVEDIR);
    return first_error == 0 ? error : first_error;
}

int remove_empty_tree_at(int parent, const std::string& name) {
    const int error = check_empty_tree(parent, name);
    return error == 0 ? remove_folders(parent, name) : error;
}
