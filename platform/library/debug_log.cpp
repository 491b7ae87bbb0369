#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include "platform/hexadecimal.h"
#include "platform/posix.h"
#include "platform/runtime.h"

namespace {

constexpr mode_t folder_mode = 0755;

// Only longer lines and messages need an allocation.
constexpr std::size_t usual_length = 2048;

struct DebugLog {
    Descriptor file;
    // Whether the last line is known to lack its newline, because the disk was full or its process was killed.
    bool is_torn = false;
    // The last message's second, and the head of its lines: "HH:MM:SS.mmm [PID] <".
    std::array<char, 64> head{};
    std::size_t head_length = 0;
    time_t second = -1;
    // The ID of this process, or 0 before its first message.
    pid_t process = 0;
};

DebugLog debug_log;

tm local_time(time_t second) {
    tm local{};
    localtime_r(&second, &local);
    return local;
}

timespec time_now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Returns the process ID. Asks the system once in each process.
pid_t this_process() {
    static const bool child_asks_again = pthread_atfork(nullptr, nullptr, [] { debug_log.process = 0; }) == 0;
    if (debug_log.process == 0 || !child_asks_again) {
        debug_log.process = getpid();
    }
    return debug_log.process;
}

constexpr std::size_t milliseconds_place = sizeof "HH:MM:SS." - 1;

void make_head(time_t second, pid_t process) {
    const tm local = local_time(second);
    const int length = snprintf(debug_log.head.data(), debug_log.head.size(), "%02d:%02d:%02d.000 [%d] <",
                                local.tm_hour, local.tm_min, local.tm_sec, process);
    debug_log.head_length = static_cast<std::size_t>(length);
    debug_log.second = second;
}

// Returns the head of a line with the present time. Formats it once a second, and only sets the milliseconds otherwise.
std::string_view head_of_now() {
    const timespec now = time_now();
    const pid_t known = debug_log.process;
    const pid_t process = this_process();
    if (now.tv_sec != debug_log.second || process != known) {
        make_head(now.tv_sec, process);
    }
    auto milliseconds = static_cast<int>(now.tv_nsec / 1'000'000);
    for (std::size_t i = 3; i-- > 0; milliseconds /= 10) {
        debug_log.head[milliseconds_place + i] = static_cast<char>('0' + milliseconds % 10);
    }
    return {debug_log.head.data(), debug_log.head_length};
}

// A table, because every byte of a message is looked up.
constexpr std::array<bool, 256> must_be_escaped = [] {
    std::array<bool, 256> result{};
    for (std::size_t byte = 0; byte < result.size(); ++byte) {
        result[byte] = byte < 32 || byte == 127 || byte == '\\';
    }
    return result;
}();

// A line of the log that is being composed.
class Line {
  public:
    [[nodiscard]] std::string_view text() const {
        return longer_.empty() ? std::string_view(usual_.data(), length_) : std::string_view(longer_);
    }

    void append(std::string_view text) {
        if (longer_.empty() && text.size() <= usual_.size() - length_) {
            memcpy(usual_.data() + length_, text.data(), text.size());
            length_ += text.size();
            return;
        }
        if (longer_.empty()) {
            longer_.assign(usual_.data(), length_);
        }
        longer_ += text;
    }

    void append_head(int level) {
        append(head_of_now());
        std::array<char, 16> digits;
        const std::to_chars_result end = std::to_chars(digits.begin(), digits.end(), level);
        append({digits.data(), static_cast<std::size_t>(end.ptr - digits.data())});
        append("> ");
    }

    // Keeps text from a peer from becoming two lines or a terminal's escape sequence.
    void append_escaped(std::string_view text) {
        const char* rest = text.data();
        const char* const end = rest + text.size();
        for (const char* byte = rest; byte != end; ++byte) {
            if (must_be_escaped[static_cast<unsigned char>(*byte)]) {
                append({rest, static_cast<std::size_t>(byte - rest)});
                append_escape(*byte);
                rest = byte + 1;
            }
        }
        append({rest, static_cast<std::size_t>(end - rest)});
    }

    __attribute__((format(printf, 2, 0))) void append_message(const char* format, va_list arguments) {
        std::array<char, usual_length> usual;
        va_list again;
        va_copy(again, arguments);
        const int length = vsnprintf(usual.data(), usual.size(), format, arguments);
        if (length >= 0 && static_cast<std::size_t>(length) < usual.size()) {
            append_escaped({usual.data(), static_cast<std::size_t>(length)});
        } else if (length >= 0) {
            std::string longer(static_cast<std::size_t>(length), '\0');
            vsnprintf(longer.data(), longer.size() + 1, format, again);
            append_escaped(longer);
        }
        va_end(again);
    }

  private:
    void append_escape(char byte) {
        if (byte == '\\') {
            append("\\\\");
        } else if (byte == '\n') {
            append("\\n");
        } else if (byte == '\r') {
            append("\\r");
        } else if (byte == '\t') {
            append("\\t");
        } else {
            append("\\x");
            append(to_hexadecimal({&byte, 1}));
        }
    }

    std::array<char, usual_length> usual_;
    std::size_t length_ = 0;
    std::string longer_;  // the whole line when it does not fit `usual_`
};

// Uses a single write, so that the lines of several processes do not mix. A failure cannot be reported anywhere.
void write_to_log(std::string_view line) {
    const ssize_t count = write(debug_log.file.get(), line.data(), line.size());
    if (count > 0) {
        debug_log.is_torn = line[static_cast<std::size_t>(count) - 1] != '\n';
    }
}

std::string log_name() {
    const tm local = local_time(time_now().tv_sec);
    std::array<char, 64> name;
    strftime(name.data(), name.size(), "log.%Y%m%d", &local);
    return name.data();
}

// Returns a descriptor of the file that is not a standard descriptor, even where one of these was closed.
Descriptor away_from_standard_streams(Descriptor file) {
    if (file.get() > STDERR_FILENO || !file.valid()) {
        return file;
    }
    return Descriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// Returns whether another process could not finish the last line. Each process that finds such a line writes a newline
// first, so an empty line can follow it.
bool ends_in_torn_line(const Descriptor& file, off_t size) {
    char last = '\n';
    return size > 0 && pread(file.get(), &last, 1, size - 1) == 1 && last != '\n';
}

Descriptor open_log(const std::string& path, mode_t mode) {
    // Non-blocking: if the name is a FIFO, opening it must not wait for a reader.
    constexpr int flags = O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    struct stat state {};
    const bool is_file = stat(path.c_str(), &state) == 0 && S_ISREG(state.st_mode);
    // Opens a file for reading too, to look at its end. A FIFO or a device would behave differently when opened for
    // reading.
    Descriptor file(is_file ? open(path.c_str(), O_RDWR | flags) : -1);
    debug_log.is_torn = file.valid() && ends_in_torn_line(file, state.st_size);
    if (!file.valid()) {
        file.reset(open(path.c_str(), O_WRONLY | O_CREAT | flags, mode));
    }
    return away_from_standard_streams(std::move(file));
}

}  // namespace

int open_debug_log(const char* root, const char* program, const char*, int mode, int*) {
    const std::string folder = std::string(root) + "/" + program;
    const std::string path = folder + "/" + log_name();
    debug_log.file = open_log(path, static_cast<mode_t>(mode));
    if (!debug_log.file.valid() && errno == ENOENT) {
        mkdir(folder.c_str(), folder_mode);  // after a failure the next open fails too
        debug_log.file = open_log(path, static_cast<mode_t>(mode));
    }
    return debug_log.file.get();
}

void logmsgf(int level, const char* tag, const char* format, ...) {
    if (!debug_log.file.valid()) {
        return;
    }
    const int error = errno;
    Line line;
    if (debug_log.is_torn) {
        line.append("\n");
    }
    line.append_head(level);
    line.append_escaped(tag == nullptr ? "" : tag);
    line.append(": ");
    va_list arguments;
    va_start(arguments, format);
    line.append_message(format, arguments);
    va_end(arguments);
    line.append("\n");
    write_to_log(line.text());
    errno = error;
}
