#include "commands/directory_removal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "agent/bounded_text.h"
#include "platform/posix.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"
#include "platform/system_error.h"

namespace {

constexpr const char* tag = "remove_directory";
constexpr std::size_t entry_path_size = 2048;

// Returns whether only this user can create entries, such as links, in the folder.
bool is_written_by_this_user_only(int folder) {
    struct stat state {};
    return fstat(folder, &state) == 0 && state.st_uid == geteuid() && (state.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// An open directory. Names relative to it lead to its entries even if another user replaces a part of its path.
struct Folder {
    explicit Folder(int fd) : descriptor(fd), has_trusted_links(is_written_by_this_user_only(fd)) {}

    int descriptor;
    bool has_trusted_links;
};

bool is_link(const Folder& folder, const char* name) {
    struct stat state {};
    return fstatat(folder.descriptor, name, &state, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(state.st_mode);
}

// Follows only a trusted link, even if the name became a link after it was examined.
Directory open_directory(const Folder& folder, const char* name) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;
    Descriptor directory(openat(folder.descriptor, name, flags | O_NOFOLLOW));
    // Linux reports ENOTDIR for a link too.
    if (!directory.valid() && errno == ENOTDIR) {
        if (!is_link(folder, name)) {
            errno = ENOTDIR;
        } else if (folder.has_trusted_links) {
            directory.reset(openat(folder.descriptor, name, flags));
        } else {
            errno = ELOOP;
        }
    }
    Directory stream(directory.valid() ? fdopendir(directory.get()) : nullptr);
    if (stream) {
        directory.release();
    }
    return stream;
}

enum class EntryKind { directory, other, inaccessible };

// One removal. It works relative to open directories. It uses paths only in messages and to check the limits of a path.
class Removal {
  public:
    Removal(const char* path, int option) : path_(path), option_(option) {}

    // Removes the directory `name` in `parent`, which has the path path_.
    int remove(const Folder& parent, const char* name) {
        Directory stream = open_directory(parent, name);
        if (!stream) {
            return fail_to_open();
        }
        logmsgf(log_level::information, tag, "Removing directory (%s) Option(%d)", path_.c_str(), option_);
        const int result = remove_entries(stream.get());
        if (result != status::success) {
            return result;
        }
        stream.reset();
        if (unlinkat(parent.descriptor, name, AT_REMOVEDIR) != 0) {
            const SystemError error;
            logmsgf(log_level::error, tag, "rmdir failed DIR=%s E=%d (%s)", path_.c_str(), error.number, error.text());
            return status::directory_failed;
        }
        return status::success;
    }

    [[nodiscard]] int fail_to_open() const {
        const SystemError error;
        logmsgf(log_level::error, tag, "Failed to open dir: %s E=%d (%s)", path_.c_str(), error.number, error.text());
        return status::directory_failed;
    }

  private:
    // Removes the entries of the directory and stops at the first that cannot be removed. A read error ends the reading
    // like the end of the directory.
    int remove_entries(DIR* stream) {
        const Folder folder(dirfd(stream));
        const std::size_t length = path_.size();
        int result = status::success;
        while (result == status::success) {
            const dirent* entry = readdir(stream);
            if (entry == nullptr) {
                break;
            }
            if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
                path_.append("/").append(entry->d_name);
                result = remove_entry(folder, *entry);
                path_.resize(length);
            }
        }
        return result;
    }

    int remove_entry(const Folder& folder, const dirent& entry) {
        // The directory lists a plain file, so no query is needed. If it is something else by now, unlinkat fails and
        // the entry is examined.
        if (entry.d_type == DT_REG && path_fits() && unlinkat(folder.descriptor, entry.d_name, 0) == 0) {
            return status::success;
        }
        const EntryKind kind = examine(folder, entry);
        if (kind == EntryKind::inaccessible) {
            log_inaccessible();
            return status::success;
        }
        const int result = kind == EntryKind::directory ? remove_internal_directory(folder, entry.d_name)
                                                        : remove_file(folder, entry.d_name);
        if (result != status::success) {
            logmsgf(log_level::error, tag, "failed to remove FILE=%s RV=%d", path_.c_str(), result);
        }
        return result;
    }

    void log_inaccessible() const {
        const SystemError error;
        logmsgf(log_level::error, tag, "cannot access %s E=%d (%s)", bounded_copy(entry_path_size, path_).c_str(),
                error.number, error.text());
    }

    [[nodiscard]] bool path_fits() const { return path_.size() < entry_path_size; }

    // Follows trusted links: a link to a directory counts as a directory. Sets errno if the entry is inaccessible.
    [[nodiscard]] EntryKind examine(const Folder& folder, const dirent& entry) const {
        if (!path_fits()) {
            errno = ENAMETOOLONG;  // its path, cut to the size of the buffer, would name another file
            return EntryKind::inaccessible;
        }
        if (folder.has_trusted_links && entry.d_type != DT_DIR && has_too_many_links()) {
            return EntryKind::inaccessible;
        }
        struct stat state {};
        if (fstatat(folder.descriptor, entry.d_name, &state, folder.has_trusted_links ? 0 : AT_SYMLINK_NOFOLLOW) != 0) {
            return EntryKind::inaccessible;
        }
        if (S_ISLNK(state.st_mode)) {
            errno = ELOOP;
            return EntryKind::inaccessible;
        }
        return S_ISDIR(state.st_mode) ? EntryKind::directory : EntryKind::other;
    }

    // The kernel limits the links in one path. Names relative to open directories never reach that limit, so that a
    // loop of links would be followed without end. So this examines the whole path. A wrong result only leaves an entry
    // in place.
    [[nodiscard]] bool has_too_many_links() const {
        struct stat state {};
        return stat(path_.c_str(), &state) != 0 && errno == ELOOP;
    }

    int remove_internal_directory(const Folder& folder, const char* name) {
        if (option_ == recursively) {
            return remove(folder, name);
        }
        logmsgf(log_level::warning, tag, "not removing internal dir (%s)", path_.c_str());
        errno = ENOTEMPTY;  // the answer to the peer shows this error
        return status::directory_failed;
    }

    [[nodiscard]] int remove_file(const Folder& folder, const char* name) const {
        if (unlinkat(folder.descriptor, name, 0) == 0) {
            return status::success;
        }
        const SystemError error;
        logmsgf(log_level::error, tag, "unlink failed FILE=%s E=%d (%s)", path_.c_str(), error.number, error.text());
        return status::directory_failed;
    }

    std::string path_;
    int option_;
};

// A directory: the path of the folder that holds it, and its name without trailing slashes, which would follow a link.
struct Place {
    std::string folder = ".";
    std::string name;
};

Place place_of(const std::string& path) {
    const std::size_t last = path.find_last_not_of('/');
    if (last == std::string::npos) {
        return {.name = path};  // empty, or the root
    }
    const std::size_t slash = path.rfind('/', last);
    if (slash == std::string::npos) {
        return {.name = path.substr(0, last + 1)};
    }
    return {.folder = path.substr(0, slash + 1), .name = path.substr(slash + 1, last - slash)};
}

}  // namespace

int remove_directory(const char* path, int option) {
    Removal removal(path, option);
    const Place place = place_of(path);
    const Descriptor folder(open(place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder.valid()) {
        return removal.fail_to_open();
    }
    return removal.remove(Folder(folder.get()), place.name.c_str());
}
