#include "platform/library/safe_rewrite.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/library/extended_attributes.h"
#include "platform/library/file_owner.h"
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

// Replaces a file in its folder.
class Replacement {
  public:
    explicit Replacement(const std::string& path)
        : folder_path_(path.substr(0, path.rfind('/') + 1)), name_(path.substr(folder_path_.size())) {}

    // Fails with ELOOP when the name is a symbolic link.
    int read_old(std::string& text) {
        if (const int error = open_folder()) {
            return error;
        }
        // Non-blocking: if the name is a FIFO, opening it must not wait for another process.
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
        // Checked before anything is written, because a change is not safe in a folder that cannot be flushed.
        if (flush_error_ != 0) {
            return flush_error_;
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
        return fsync(folder_.get()) == 0 ? 0 : errno;
    }

  private:
    // A folder that cannot be read cannot be flushed either. Only a change of the text needs the flush.
    int open_folder() {
        folder_.reset(open(folder_path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder_.valid()) {
            flush_error_ = errno;
            folder_.reset(open(folder_path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        }
        return folder_.valid() ? 0 : errno;
    }

    // The lock makes a fixed name safe. A fixed name lets the next rewrite remove what a crash left. EEXIST only ever
    // means that the name is taken by another file: the status texts rely on it.
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

    // Returns whether a rewrite can have made the file: a private file, or one that already has the old owner or mode.
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

    // The owner comes first, because changing it can clear bits of the mode and attributes.
    int take_over_state(int file) const {
        if (const int error = give_owner(file, old_state_.st_uid, old_state_.st_gid)) {
            return error;
        }
        if (const int error = copy_extended_attributes(old_.get(), file)) {
            return error;
        }
        return fchmod(file, old_state_.st_mode & ALLPERMS) == 0 ? 0 : errno;
    }

    std::string folder_path_;
    std::string name_;
    std::string new_name_ = "." + name_ + ".new";  // hidden, unlike the names that users give to copies
    Descriptor folder_;
    int flush_error_ = 0;  // why the folder cannot be flushed
    Descriptor old_;
    struct stat old_state_ {};
};

int replace_edited(Replacement& replacement, const std::string& old_text, const Edit& edit) {
    const std::optional<std::string> new_text = edit(old_text);
    return new_text ? replacement.replace(*new_text) : 0;
}

// Locks the target under its own name too, because several names can lead to one file.
int rewrite_link_target(const std::string& path, const Edit& edit) {
    std::string target;
    if (const int error = resolve(path, target)) {
        return error;
    }
    if (target == path) {
        return ELOOP;  // the link is gone, and the name is already locked
    }
    const Descriptor lock = lock_name(AT_FDCWD, target);
    if (!lock.valid()) {
        return errno;
    }
    Replacement replacement(target);
    std::string old_text;
    const int error = replacement.read_old(old_text);
    return error == 0 ? replace_edited(replacement, old_text, edit) : error;
}

}  // namespace

Descriptor lock_name(int folder, const std::string& name) {
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW;
    Descriptor lock(openat(folder, (name + ".lock").c_str(), flags, private_mode));
    while (lock.valid() && flock(lock.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            lock.reset();
        }
    }
    return lock;
}

int rewrite_file(const std::string& path, const Edit& edit) {
    const Descriptor lock = lock_name(AT_FDCWD, path);
    if (!lock.valid()) {
        return errno;
    }
    Replacement replacement(path);
    std::string old_text;
    const int error = replacement.read_old(old_text);
    if (error == ELOOP) {
        return rewrite_link_target(path, edit);
    }
    return error == 0 ? replace_edited(replacement, old_text, edit) : error;
}

}  // namespace platform_library
