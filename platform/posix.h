// Owners of POSIX resources and the one way to read and write a file, shared by the agent, the platform
// library and the request command.
#pragma once

#include <dirent.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

// Owns one file descriptor and closes it at the end of its life; errno survives the closing, so that a
// caller may still report the failure that made it leave. Holds -1 when there is nothing to own.
class [[nodiscard]] Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset(other.release());
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] bool valid() const { return fd_ >= 0; }
    // Gives the descriptor up without closing it.
    int release() { return std::exchange(fd_, -1); }
    void reset(int fd = -1) {
        if (fd_ >= 0) {
            const int error = errno;
            ::close(fd_);
            errno = error;
        }
        fd_ = fd;
    }

  private:
    int fd_ = -1;
};

struct DirectoryCloser {
    void operator()(DIR* directory) const {
        const int error = errno;
        ::closedir(directory);
        errno = error;
    }
};

// Owns an open directory stream; errno survives the closing. Null when the directory could not be opened.
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

// Writes all of the text, resuming short and interrupted writes. Returns whether that worked; if not, errno says
// why. For files: a non-blocking descriptor that is full is a failure.
inline bool write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

// Appends what is left to read of the descriptor to `text`. Returns whether the end was reached; if not, errno
// says why and what was read before stays in `text`.
inline bool read_all(int fd, std::string& text) {
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t count = ::read(fd, buffer.data(), buffer.size());
        if (count == 0) {
            return true;
        }
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
}
