// Owners of POSIX resources, and functions that read or write a whole file. All programs use them.
#pragma once

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

// Owns one file descriptor and closes it in the destructor. Closing does not change errno, so that a caller that
// returns after a failure can still report it. Holds -1 when it owns nothing.
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
    // Gives up ownership without closing the descriptor.
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

// Owns an open directory stream. Closing does not change errno. Null when the directory could not be opened.
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

// Writes all of the text, and resumes after short and interrupted writes. Returns whether that worked; if not, errno
// says why. Meant for files: a full non-blocking descriptor is a failure.
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

// Reserves memory for the whole text of a file if the file's size is known, but not for more than `most` bytes.
inline void reserve_for_file(int fd, std::string& text, std::size_t most) {
    struct stat state {};
    if (::fstat(fd, &state) == 0 && S_ISREG(state.st_mode)) {
        text.reserve(std::min(static_cast<std::size_t>(state.st_size), most) + 1);
    }
}

// Reads the descriptor to its end and appends the bytes to `text`. Returns whether that worked; if not, errno says why
// and `text` keeps what was read before. Fails with EFBIG when `text` becomes longer than `most` bytes.
inline bool read_all(int fd, std::string& text, std::size_t most = std::string::npos) {
    constexpr std::size_t large = std::size_t{1} << 16;
    std::array<char, 4096> usual_buffer;
    std::unique_ptr<char[]> large_buffer;
    char* buffer = usual_buffer.data();
    std::size_t size = usual_buffer.size();
    for (;;) {
        const ssize_t count = ::read(fd, buffer, size);
        if (count == 0) {
            return true;
        }
        if (count < 0) {
            if (errno != EINTR) {
                return false;
            }
            continue;
        }
        text.append(buffer, static_cast<std::size_t>(count));
        if (text.size() > most) {
            errno = EFBIG;
            return false;
        }
        if (text.size() >= large && !large_buffer) {
            reserve_for_file(fd, text, most);
            size = large;
            large_buffer = std::make_unique_for_overwrite<char[]>(size);
            buffer = large_buffer.get();
        }
    }
}
