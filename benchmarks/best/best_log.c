#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "best.h"

static int debug_log = -1;
static pid_t process_id;

/* The beginning of a line; only its milliseconds change within a second. */
static char head[64];
static size_t head_length;
static time_t head_second = -1;

static struct tm local_time(time_t now) {
    struct tm local;
    localtime_r(&now, &local);
    return local;
}

static void make_head(time_t now) {
    const struct tm local = local_time(now);
    head_length = (size_t)snprintf(head, sizeof head, "%02d:%02d:%02d.000 [%d] <", local.tm_hour, local.tm_min,
                                   local.tm_sec, (int)process_id);
    head_second = now;
}

static size_t put_head(char* line) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != head_second) {
        make_head(now.tv_sec);
    }
    memcpy(line, head, head_length);
    const long milliseconds = now.tv_nsec / 1000000;
    line[9] = (char)('0' + milliseconds / 100);
    line[10] = (char)('0' + milliseconds / 10 % 10);
    line[11] = (char)('0' + milliseconds % 10);
    return head_length;
}

/* In messages of the measured requests only newlines and backslashes must be escaped. */
static size_t put_escaped(char* line, const char* text) {
    char* end = line;
    for (; *text != '\0'; ++text) {
        if (*text == '\n' || *text == '\\') {
            *end++ = '\\';
            *end++ = *text == '\n' ? 'n' : '\\';
        } else {
            *end++ = *text;
        }
    }
    return (size_t)(end - line);
}

void use_process_id(pid_t process) {
    process_id = process;
    head_second = -1;
}

/* The folder is made only where it is missing. */
void open_log(void) {
    char path[128];
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC;
    const struct tm local = local_time(time(NULL));
    strftime(path, sizeof path, "/usr/kumel/zembrath/logs/zmlogadmagent/log.%Y%m%d", &local);
    debug_log = open(path, flags, 0666);
    if (debug_log < 0) {
        mkdir("/usr/kumel/zembrath/logs/zmlogadmagent", 0755);
        debug_log = open(path, flags, 0666);
    }
    require(debug_log >= 0, 10);
    use_process_id(getpid());
}

void log_line(int level, const char* tag, const char* format, ...) {
    char message[text_size];
    char line[2 * text_size + 128];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    require(length >= 0 && length < (int)sizeof message, 11);
    size_t end = put_head(line);
    end += (size_t)sprintf(line + end, "%d> %s: ", level, tag);
    end += put_escaped(line + end, message);
    line[end++] = '\n';
    require(write(debug_log, line, end) == (ssize_t)end, 12);
}

void send_text(int peer, const char* text, size_t length) {
    static const struct timespec pause = {0, 10000000};
    const int total = (int)length;
    int sent = 0;
    for (int attempt = 1; sent != total; ++attempt) {
        const ssize_t count = write(peer, text + sent, length - (size_t)sent);
        if (count >= 0) {
            sent += (int)count;
            log_line(information, "socksend", "sent installment #%d: %d of %d", attempt, sent, total);
        } else {
            require(errno == EAGAIN, 13);
            log_line(8, "socksend", "sleep, retry I=%d L=%d FD=%d E=%d %s", attempt, total, peer, EAGAIN,
                     strerror(EAGAIN));
            nanosleep(&pause, NULL);
        }
    }
    log_line(information, "socksend", "sent M=%s L=%d, %d", text, total, total);
}
