#include "platform/library/safe_rewrite.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/library/extended_attributes.h"
#include "platform/posix.h"

// Every step returns 0 or an error number.
namespace platform_library {

namespace {

constexpr mode_t private_mode = 0600;

int resolve(const std::string& path, std::string& target) {
    struct Release {
        void operator()(char* text) const { free(text); }
    };
    const std::unique_ptr<char, Release> resolved(realpath(path.c_str(), nullptr));
    if (!resolved) {
        return errno;
    }
    target = resolved.get();
    return 0;
}

// Two names may lead to one file, so a file behind a link is locked under its own name too.
int lock_behind_link(const std::string& path, const std::string& target, Descriptor& lock) {
    struct stat state {};
    if (lstat(path.c_str(), &state) != 0) {
        return errno;
    }
    return S_ISLNK(state.st_mode) ? lock_name(target, lock) : 0;
}

// A file about to be replaced: its folder, its name in there, what it holds.
class Replacement {
  public:
    // `target` is an absolute path without links.
    explicit Replacement(const std::string& target)
        : folder_path_(target.substr(0, target.rfind('/') + 1)), name_(target.substr(folder_path_.size())) {}

    int read_old(std::string& text) {
        // For names in it alone, which takes no right to read it: a text that stays as it is needs none.
        folder_.reset(open(folder_path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!folder_.valid()) {
            return errno;
        }
        // Non-blocking: whatever has the name, opening it must not wait for another process.
        old_.reset(openat(folder_.get(), name_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        if (!old_.valid() || fstat(old_.get(), &old_state_) != 0) {
            return errno;
        }
        if (!S_ISREG(old_state_.st_mode)) {
            return S_ISDIR(old_state_.st_mode) ? EISDIR : EINVAL;
        }
        return read_all(old_.get(), text) ? 0 : errno;
    }

    int replace(const std::string& text) {
        // Before anything is written, for a change in a folder that cannot be flushed is not safe.
        const Descriptor flushable(openat(folder_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!flushable.valid()) {
            return errno;
        }
        Descriptor file;
        if (const int error = create_new(file)) {
            return error;
        }
        int error = fill_new(file.get(), text);
        if (error == 0 && renameat(folder_.get(), new_name_.c_str(), folder_.get(), name_.c_str()) != 0) {
            error = errno;
        }
        if (error != 0) {
            unlinkat(folder_.get(), new_name_.c_str(), 0);
            return error;
        }
        return fsync(flushable.get()) == 0 ? 0 : errno;
    }

  private:
    // The lock makes a fixed name safe, and a fixed name lets the next rewrite clear away what a crash left. EEXIST
    // means that something else has the name, and nothing but that: the status texts rely on it.
    int create_new(Descriptor& file) const {
        file = open_new();
        if (!file.valid() && errno == EEXIST) {
            if (const int error = remove_leftover()) {
                return error;
            }
            file = open_new();
        }
        return file.valid() ? 0 : errno;
    }

    [[nodiscard]] Descriptor open_new() const {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
        return Descriptor(openat(folder_.get(), new_name_.c_str(), flags, private_mode));
    }

    [[nodiscard]] int remove_leftover() const {
        struct stat state {};
        if (fstatat(folder_.get(), new_name_.c_str(), &state, AT_SYMLINK_NOFOLLOW) != 0) {
            return errno;
        }
        if (!is_leftover(state)) {
            return EEXIST;
        }
        return unlinkat(folder_.get(), new_name_.c_str(), 0) == 0 ? 0 : errno;
    }

    // Whether a rewrite can have made it: a private file, which may already have got the owner or the mode.
    [[nodiscard]] bool is_leftover(const struct stat& state) const {
        const mode_t permissions = state.st_mode & ACCESSPERMS;
        const bool has_mode = permissions == private_mode || permissions == (old_state_.st_mode & ACCESSPERMS);
        const bool has_owner = state.st_uid == geteuid() || state.st_uid == old_state_.st_uid;
        return S_ISREG(state.st_mode) && state.st_nlink == 1 && has_mode && has_owner;
    }

    int fill_new(int file, const std::string& text) const {
        if (!write_all(file, text)) {
            return errno;
        }
        if (const int error = take_over_state(file)) {
            return error;
        }
        return fsync(file) == 0 ? 0 : errno;
    }

    // The owner first: changing it can clear bits of the mode and attributes.
    int take_over_state(int file) const {
        struct stat state {};
        if (fstat(file, &state) != 0) {
            return errno;
        }
        const bool same_owner = state.st_uid == old_state_.st_uid && state.st_gid == old_state_.st_gid;
        if (!same_owner && fchown(file, old_state_.st_uid, old_state_.st_gid) != 0) {
            return errno;
        }
        if (const int error = copy_extended_attributes(old_.get(), file)) {
            return error;
        }
        return fchmod(file, old_state_.st_mode & ALLPERMS) == 0 ? 0 : errno;
    }

    std::string folder_path_;
    std::string name_;
    std::string new_name_ = "." + name_ + ".new";  // nothing that a user would keep a draft under
    Descriptor folder_;
    Descriptor old_;
    struct stat old_state_ {};
};

int rewrite_locked(const std::string& target, const Edit& edit) {
    Replacement replacement(target);
    std::string old_text;
    if (const int error = replacement.read_old(old_text)) {
        return error;
    }
    const std::optional<std::string> new_text = edit(old_text);
    return new_text ? replacement.replace(*new_text) : 0;
}

}  // namespace

int lock_name(const std::string& path, Descriptor& lock) {
    const std::string name = path + ".lock";
    lock.reset(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, private_mode));
    if (!lock.valid()) {
        return errno;
    }
    while (flock(lock.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

int rewrite_file(const std::string& path, const Edit& edit) {
    Descriptor lock;
    if (const int error = lock_name(path, lock)) {
        return error;
    }
    std::string target;
    if (const int error = resolve(path, target)) {
        return error;
    }
    Descriptor target_lock;
    if (const int error = lock_behind_link(path, target, target_lock)) {
        return error;
    }
    return rewrite_locked(target, edit);
}

}  // namespace platform_library
