#include "platform/standard_streams.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

void occupy_standard_descriptors() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // Read-only, so that a write to the descriptor still fails as it would have.
        if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDONLY) != fd) {
            throw std::system_error(errno, std::generic_category(), "cannot open /dev/null");
        }
    }
}

bool write_to_stream(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(fd, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            pollfd entry = {.fd = fd, .events = POLLOUT, .revents = 0};
            poll(&entry, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}
