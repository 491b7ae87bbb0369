#include "platform/library/put_back.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

#include "platform/library/file_owner.h"
#include "platform/library/safe_rewrite.h"
#include "platform/library/trusted_folder.h"
#include "platform/posix.h"

// Every step returns 0 or an error number.
namespace platform_library {

namespace {

int error_of(int result) {
    return result == 0 ? 0 : errno;
}

// A name in an open folder, with the lock of the name.
class LockedName {
  public:
    int acquire(const std::string& path) {
        const std::size_t slash = path.rfind('/');
        name_ = path.substr(slash + 1);
        // Not the name that a rewrite uses: a crash would leave a file there that no rewrite removes.
        new_name_ = "." + name_ + ".put";
        const OpenFolder found = open_folder(path.substr(0, slash + 1));
        if (!found.descriptor.valid()) {
            return errno;
        }
        folder_.reset(openat(found.descriptor.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder_.valid()) {
            return errno;
        }
        lock_ = lock_name(folder_.get(), name_);
        return lock_.valid() ? 0 : errno;
    }

    // Calls `make`, which creates a file or link under the new name, and renames that over the name. The lock makes a
    // fixed new name safe. A fixed name lets the next restore remove what a crash left, which can belong to `owner`.
    int replace(uid_t owner, const std::function<int(int folder, const char* new_name)>& make) {
        if (const int error = remove_leftover(owner)) {
            return error;
        }
        int error = make(folder_.get(), new_name_.c_str());
        if (error == 0) {
            error = error_of(renameat(folder_.get(), new_name_.c_str(), folder_.get(), name_.c_str()));
        }
        if (error != 0) {
            unlinkat(folder_.get(), new_name_.c_str(), 0);
            return error;
        }
        return error_of(fsync(folder_.get()));
    }

    int remove() {
        if (unlinkat(folder_.get(), name_.c_str(), 0) != 0) {
            return errno == ENOENT ? 0 : errno;
        }
        return error_of(fsync(folder_.get()));
    }

  private:
    // Returns EEXIST, and removes nothing, when the new name is taken by a file that no restore made.
    [[nodiscard]] int remove_leftover(uid_t owner) const {
        struct stat state {};
        if (fstatat(folder_.get(), new_name_.c_str(), &state, AT_SYMLINK_NOFOLLOW) != 0) {
            return errno == ENOENT ? 0 : errno;
        }
        const bool is_file = S_ISREG(state.st_mode) && state.st_nlink == 1;
        if ((!is_file && !S_ISLNK(state.st_mode)) || (state.st_uid != geteuid() && state.st_uid != owner)) {
            return EEXIST;
        }
        return error_of(unlinkat(folder_.get(), new_name_.c_str(), 0));
    }

    std::string name_;
    std::string new_name_;
    Descriptor folder_;
    Descriptor lock_;
};

// The owner comes first, because changing it can clear bits of the mode and attributes.
int give_state(int file, const WholeFile& wanted) {
    if (const int error = give_owner(file, wanted.owner, wanted.group)) {
        return error;
    }
    if (const int error = give_extended_attributes(wanted.attributes, file)) {
        return error;
    }
    return error_of(fchmod(file, wanted.mode & ALLPERMS));
}

int make_file(int folder, const char* name, const WholeFile& wanted) {
    constexpr mode_t private_mode = 0600;
    const Descriptor file(openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, private_mode));
    if (!file.valid() || !write_all(file.get(), wanted.text)) {
        return errno;
    }
    const int error = give_state(file.get(), wanted);
    return error == 0 ? error_of(fsync(file.get())) : error;
}

}  // namespace

int put_file(const std::string& path, const WholeFile& file) {
    LockedName place;
    const int error = place.acquire(path);
    return error == 0
               ? place.replace(file.owner, [&](int folder, const char* name) { return make_file(folder, name, file); })
               : error;
}

int put_link(const std::string& path, const std::string& target) {
    LockedName place;
    const int error = place.acquire(path);
    return error == 0 ? place.replace(geteuid(),
                                      [&](int folder, const char* name) {
                                          return error_of(symlinkat(target.c_str(), folder, name));
                                      })
                      : error;
}

int remove_file(const std::string& path) {
    LockedName place;
    const int error = place.acquire(path);
    return error == 0 ? place.remove() : error;
}

}  // namespace platform_library
