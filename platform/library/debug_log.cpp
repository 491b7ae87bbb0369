#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>

#include "platform/posix.h"
#include "platform/runtime.h"

namespace {

constexpr mode_t folder_mode = 0755;

Descriptor debug_log;

tm local_time(const timespec& now) {
    tm local{};
    localtime_r(&now.tv_sec, &local);
    return local;
}

// A line of the log on the way there.
class Line {
  public:
    void append_head(int level) {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        const tm local = local_time(now);
        std::array<char, 64> head;
        snprintf(head.data(), head.size(), "%02d:%02d:%02d.%03d [%d] <%d> ", local.tm_hour, local.tm_min, local.tm_sec,
                 static_cast<int>(now.tv_nsec / 1'000'000), getpid(), level);
        text_ += head.data();
    }

    void append(std::string_view text) { text_ += text; }

    // Whatever a peer sends, it does not become two lines or an escape sequence of somebody's terminal.
    void append_escaped(std::string_view text) {
        const char* rest = text.data();
        const char* const end = rest + text.size();
        for (const char* byte = rest; byte != end; ++byte) {
            if (must_be_escaped(*byte)) {
                text_.append(rest, byte);
                append_escape(*byte);
                rest = byte + 1;
            }
        }
        text_.append(rest, end);
    }

    // A single write, so lines of processes that share the log do not mix; if it fails there is nobody to tell.
    void write_to(int fd) const { (void)!write(fd, text_.data(), text_.size()); }

  private:
    static bool must_be_escaped(char byte) {
        const auto value = static_cast<unsigned char>(byte);
        return byte == '\\' || value < 32 || value == 127;
    }

    void append_escape(char byte) {
        constexpr std::string_view digits = "0123456789abcdef";
        const auto value = static_cast<unsigned char>(byte);
        if (byte == '\\') {
            text_ += "\\\\";
        } else if (byte == '\n') {
            text_ += "\\n";
        } else if (byte == '\r') {
            text_ += "\\r";
        } else if (byte == '\t') {
            text_ += "\\t";
        } else {
            text_ += "\\x";
            text_ += digits[value / 16];
            text_ += digits[value % 16];
        }
    }

    std::string text_;
};

std::string format_message(const char* format, va_list arguments) {
    std::array<char, 512> buffer;
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(buffer.data(), buffer.size(), format, arguments);
    std::string message;
    if (length >= 0 && static_cast<std::size_t>(length) < buffer.size()) {
        message.assign(buffer.data(), static_cast<std::size_t>(length));
    } else if (length >= 0) {
        message.resize(static_cast<std::size_t>(length));
        vsnprintf(message.data(), message.size() + 1, format, again);
    }
    va_end(again);
    return message;
}

// Returns the descriptor under a number that is none of the standard ones, also when one of these was free.
Descriptor away_from_standard_streams(Descriptor file) {
    if (file.get() > STDERR_FILENO || !file.valid()) {
        return file;
    }
    return Descriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace

int open_debug_log(const char* root, const char* program, const char*, int mode, int*) {
    const std::string folder = std::string(root) + "/" + program;
    mkdir(folder.c_str(), folder_mode);  // it may be there; if it could not be made, opening the file tells
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const tm local = local_time(now);
    std::array<char, 64> name;
    strftime(name.data(), name.size(), "/log.%Y%m%d", &local);
    const std::string path = folder + name.data();
    // Non-blocking: whatever has the name, the log must not wait for a reader of it.
    constexpr int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    debug_log = away_from_standard_streams(Descriptor(open(path.c_str(), flags, static_cast<mode_t>(mode))));
    return debug_log.get();
}

void logmsgf(int level, const char* tag, const char* format, ...) {
    if (!debug_log.valid()) {
        return;
    }
    const int error = errno;
    va_list arguments;
    va_start(arguments, format);
    const std::string message = format_message(format, arguments);
    va_end(arguments);
    Line line;
    line.append_head(level);
    line.append_escaped(tag == nullptr ? "" : tag);
    line.append(": ");
    line.append_escaped(message);
    line.append("\n");
    line.write_to(debug_log.get());
    errno = error;
}
