#include "platform/library/trusted_folder.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <utility>

namespace platform_library {

namespace {

constexpr int folder_flags = O_PATH | O_DIRECTORY | O_CLOEXEC;

// Follows a path from the root folder, one name after the other, so that every link on the way is examined in the
// folder that it was found in.
class Walk {
  public:
    explicit Walk(std::string path) : rest_(std::move(path)) { start_at_root(); }

    OpenFolder finish() {
        while (here_.descriptor.valid() && !rest_.empty()) {
            const std::size_t slash = std::min(rest_.find('/'), rest_.size());
            const std::string name = rest_.substr(0, slash);
            rest_.erase(0, slash + 1);
            if (!name.empty() && name != ".") {
                enter(name);
            }
        }
        return std::move(here_);
    }

  private:
    // The limit of Linux.
    static constexpr int most_links = 40;

    void start_at_root() {
        here_.descriptor.reset(open("/", folder_flags));
        here_.path.clear();
    }

    void enter(const std::string& name) {
        Descriptor below(openat(here_.descriptor.get(), name.c_str(), folder_flags | O_NOFOLLOW));
        // Linux reports ENOTDIR for a link too.
        if (!below.valid() && (errno == ENOTDIR || errno == ELOOP)) {
            follow(name);
            return;
        }
        here_.path = name == ".." ? here_.path.substr(0, here_.path.rfind('/')) : here_.path + "/" + name;
        here_.descriptor = std::move(below);
    }

    void follow(const std::string& name) {
        std::array<char, PATH_MAX> target;
        const ssize_t size = readlinkat(here_.descriptor.get(), name.c_str(), target.data(), target.size());
        if (size < 0) {
            fail(name, errno == EINVAL ? ENOTDIR : errno);
        } else if (!is_trusted(here_.descriptor)) {
            fail(name, untrusted_link);
        } else if (++links_ > most_links) {
            fail(name, ELOOP);
        } else {
            rest_ = std::string(target.data(), static_cast<std::size_t>(size)) + "/" + rest_;
            if (rest_.front() == '/') {
                start_at_root();
            }
        }
    }

    void fail(const std::string& name, int error) {
        here_.descriptor.reset();
        here_.path += "/" + name;
        errno = error;
    }

    OpenFolder here_;
    std::string rest_;  // of the path, after the folder that is open
    int links_ = 0;
};

}  // namespace

bool is_trusted(const struct stat& folder) {
    return (folder.st_uid == 0 || folder.st_uid == geteuid()) && (folder.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool is_trusted(const Descriptor& folder) {
    struct stat state {};
    return fstat(folder.get(), &state) == 0 && is_trusted(state);
}

OpenFolder open_folder(const std::string& path) {
    return Walk(path).finish();
}

}  // namespace platform_library
