#include "tests/request_command/terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace {

void check(int result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

}  // namespace

Terminal::Terminal(unsigned short columns) : reading_side_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    check(reading_side_.get(), "posix_openpt");
    check(grantpt(reading_side_.get()), "grantpt");
    check(unlockpt(reading_side_.get()), "unlockpt");
    programs_side_ = Descriptor(ioctl(reading_side_.get(), TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC));
    check(programs_side_.get(), "TIOCGPTPEER");
    termios settings = {};
    check(tcgetattr(programs_side_.get(), &settings), "tcgetattr");
    cfmakeraw(&settings);
    check(tcsetattr(programs_side_.get(), TCSANOW, &settings), "tcsetattr");
    const winsize size = {.ws_row = 25, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    check(ioctl(programs_side_.get(), TIOCSWINSZ, &size), "TIOCSWINSZ");
}

std::string Terminal::await(std::string_view text) {
    while (text_.find(text) == std::string::npos) {
        if (!receive()) {
            throw std::runtime_error("the terminal was closed: " + text_);
        }
    }
    return text_;
}

std::string Terminal::await_end() {
    programs_side_.reset();
    while (receive()) {
    }
    return text_;
}

// Reading fails with EIO when no program has the terminal open.
bool Terminal::receive() {
    std::array<char, 4096> buffer;
    const ssize_t count = read(reading_side_.get(), buffer.data(), buffer.size());
    if (count == -1 && errno != EIO) {
        throw std::system_error(errno, std::generic_category(), "read from the terminal");
    }
    text_.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0;
}
