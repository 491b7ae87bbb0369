#include "agent/response_channel.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "agent/answer_forms.h"
#include "agent/bounded_text.h"
#include "platform/runtime.h"
#include "platform/system_error.h"

namespace {

constexpr std::size_t status_line_size = 512;
constexpr int wide_buffer = 4 << 20;  // about ten thousand lines; the kernel may grant less
constexpr timespec retry_pause = {.tv_sec = 0, .tv_nsec = 10'000'000};

}  // namespace

int socksend(int socket, const char* text, unsigned long length) {
    constexpr const char* tag = "socksend";
    const int total = static_cast<int>(length);
    int sent = 0;
    int attempt = 0;  // counts failed writes too
    while (sent != total) {
        const ssize_t count = write(socket, text + sent, length - static_cast<unsigned long>(sent));
        ++attempt;
        if (count != -1) {
            sent += static_cast<int>(count);
            logmsgf(log_level::information, tag, "sent installment #%d: %d of %d", attempt, sent, total);
        } else if (errno == EAGAIN) {
            logmsgf(log_level::warning, tag, "sleep, retry I=%d L=%d FD=%d E=%d %s", attempt, total, socket, EAGAIN,
                    strerror(EAGAIN));
            nanosleep(&retry_pause, nullptr);
        } else {
            // EINTR is fatal too: no signal handler of this process interrupts a write.
            const SystemError error;
            logmsgf(log_level::error, tag, "send failed, fatal I=%d M=%s L=%d FD=%d E=%d %s", attempt, text, total,
                    socket, error.number, error.text());
            return -1;
        }
    }
    logmsgf(log_level::information, tag, "sent M=%s L=%d, %d", text, total, total);
    return total;
}

void widen_sending_buffer(int socket) {
    int family = AF_UNSPEC;
    socklen_t size = sizeof family;
    if (getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size) == 0 && family == AF_UNIX) {
        setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &wide_buffer, sizeof wide_buffer);
    }
}

void qas_report_exit_status(int status, int socket) {
    const std::string line = bounded_print(status_line_size, "%s %d %s\n", exit_status_key, status, getECmsg(status));
    static_cast<void>(socksend(socket, line.c_str(), line.size()));
}
