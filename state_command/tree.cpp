#include "state_command/tree.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string_view>

namespace {

// Each folder in a path takes two bytes of it at least. The limit keeps other users from exhausting the stack.
constexpr int deepest = PATH_MAX / 2;

constexpr int listing_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;

// The entries of a folder.
struct Entries {
    std::vector<std::string> folders;
    std::vector<std::string> others;
    int error = 0;  // why there may be more
};

FolderNames list_names(int folder) {
    Descriptor copy(openat(folder, ".", listing_flags));
    const Directory stream(copy.valid() ? fdopendir(copy.get()) : nullptr);
    if (!stream) {
        return {.names = {}, .error = errno};
    }
    copy.release();
    return names_in(stream.get());
}

Entries list_entries(int folder) {
    FolderNames listed = list_names(folder);
    Entries entries;
    entries.error = listed.error;
    for (std::string& name : listed.names) {
        struct stat state {};
        if (fstatat(folder, name.c_str(), &state, AT_SYMLINK_NOFOLLOW) == 0) {
            (S_ISDIR(state.st_mode) ? entries.folders : entries.others).push_back(std::move(name));
        } else if (errno != ENOENT && entries.error == 0) {
            entries.error = errno;
        }
    }
    return entries;
}

// Opens the folder. Fails with EBUSY where another file system is mounted, which is not this folder's to remove.
Descriptor open_below(int parent, const std::string& name) {
    struct stat above {};
    struct stat below {};
    Descriptor folder(openat(parent, name.c_str(), listing_flags));
    if (!folder.valid() || fstat(parent, &above) != 0 || fstat(folder.get(), &below) != 0) {
        folder.reset();
    } else if (above.st_dev != below.st_dev) {
        folder.reset();
        errno = EBUSY;
    }
    return folder;
}

// Returns the error of a failed open_below. A folder that has disappeared is no error.
int error_of_open() {
    return errno == ENOENT ? 0 : errno;
}

int remove_at(int parent, const std::string& name, int flags) {
    return unlinkat(parent, name.c_str(), flags) == 0 || errno == ENOENT ? 0 : errno;
}

// Returns ENOTEMPTY if the tree contains anything other than folders.
int check_empty_tree(int parent, const std::string& name, int depth) {
    if (depth > deepest) {
        return ENAMETOOLONG;
    }
    const Descriptor folder = open_below(parent, name);
    if (!folder.valid()) {
        return error_of_open();
    }
    const Entries entries = list_entries(folder.get());
    if (entries.error != 0 || !entries.others.empty()) {
        return entries.error != 0 ? entries.error : ENOTEMPTY;
    }
    for (const std::string& entry : entries.folders) {
        if (const int error = check_empty_tree(folder.get(), entry, depth + 1)) {
            return error;
        }
    }
    return 0;
}

// Removes only folders. If a file is added in the meantime, its folder stays.
int remove_folders(int parent, const std::string& name, int depth) {
    if (depth > deepest) {
        return ENAMETOOLONG;
    }
    const Descriptor folder = open_below(parent, name);
    if (!folder.valid()) {
        return error_of_open();
    }
    const FolderNames found = list_folders(folder.get());
    if (found.error != 0) {
        return found.error;
    }
    for (const std::string& entry : found.names) {
        if (const int error = remove_folders(folder.get(), entry, depth + 1)) {
            return error;
        }
    }
    return remove_at(parent, name, AT_REMOVEDIR);
}

int remove_contents_to_depth(int folder, int depth);

int remove_tree_to_depth(int parent, const std::string& name, int depth) {
    if (depth > deepest) {
        return ENAMETOOLONG;
    }
    const Descriptor folder = open_below(parent, name);
    if (!folder.valid()) {
        return error_of_open();
    }
    const int first_error = remove_contents_to_depth(folder.get(), depth);
    const int error = remove_at(parent, name, AT_REMOVEDIR);
    return first_error == 0 ? error : first_error;
}

int remove_contents_to_depth(int folder, int depth) {
    const Entries entries = list_entries(folder);
    int first_error = entries.error;
    const auto note = [&](int error) { first_error = first_error == 0 ? error : first_error; };
    for (const std::string& entry : entries.folders) {
        note(remove_tree_to_depth(folder, entry, depth + 1));
    }
    for (const std::string& entry : entries.others) {
        note(remove_at(folder, entry, 0));
    }
    return first_error;
}

// Returns whether the folder can be one that this process has just made.
bool is_new(int folder) {
    struct stat state {};
    if (fstat(folder, &state) != 0 || state.st_uid != geteuid() || (state.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        return false;
    }
    const FolderNames found = list_names(folder);
    return found.error == 0 && found.names.empty();
}

}  // namespace

FolderNames names_in(DIR* folder) {
    FolderNames found;
    errno = 0;
    while (const dirent* entry = readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            found.names.emplace_back(name);
        }
        errno = 0;
    }
    found.error = errno;
    std::sort(found.names.begin(), found.names.end());
    return found;
}

FolderNames list_folders(int folder) {
    Entries entries = list_entries(folder);
    return {.names = std::move(entries.folders), .error = entries.error};
}

Descriptor make_folder_at(int parent, const std::string& name) {
    if (mkdirat(parent, name.c_str(), S_IRWXU) != 0) {
        return {};
    }
    Descriptor folder(openat(parent, name.c_str(), listing_flags));
    if (folder.valid() && !is_new(folder.get())) {
        folder.reset();
        errno = EPERM;
    }
    if (!folder.valid()) {
        const int error = errno;
        unlinkat(parent, name.c_str(), AT_REMOVEDIR);
        errno = error;
    }
    return folder;
}

int rename_to_new_at(int parent, const std::string& from, const std::string& to) {
    if (syscall(SYS_renameat2, parent, from.c_str(), parent, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != ENOSYS && errno != EINVAL) {
        return errno;
    }
    if (mkdirat(parent, to.c_str(), S_IRWXU) != 0) {
        return errno;
    }
    if (renameat(parent, from.c_str(), parent, to.c_str()) != 0) {
        const int error = errno;
        unlinkat(parent, to.c_str(), AT_REMOVEDIR);
        return error;
    }
    return 0;
}

int remove_contents(int folder) {
    return remove_contents_to_depth(folder, 0);
}

int remove_tree_at(int parent, const std::string& name) {
    return remove_tree_to_depth(parent, name, 0);
}

int remove_empty_tree_at(int parent, const std::string& name) {
    const int error = check_empty_tree(parent, name, 0);
    return error == 0 ? remove_folders(parent, name, 0) : error;
}
