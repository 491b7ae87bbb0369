/*
 * floor: the minimum cost of a request, mainly of one for free space.
 *
 * The comparison with it shows the agent's own cost, because the kernel and the C library cost both programs the same.
 * For one request it does only what no program could leave out, in the cheapest way with the same visible result:
 *
 *   - takes the socket over from descriptor 0 and points 0, 1 and 2 at /dev/null, opened once;
 *   - reads qr.conf, once, and looks for this host's entry;
 *   - opens the day's log in the existing folder to append, and writes the same lines as the agent for such a request,
 *     each with its own time and its own write;
 *   - ignores SIGPIPE, and asks the kernel for the peer's user and for the host's name;
 *   - reads only the request's own bytes: one read that leaves the bytes, then one of exactly its length;
 *   - carries it out: measures the file system (GETDISKSPACE); rewrites the volume manager's file line by line beside
 *     the old one, each line with its own write, and renames it (VMCONF); runs the connection broker's tool through
 *     the shell (KOB); removes a folder's files and the folder (CLEANUP); or runs the support utility and sends the
 *     names that it left, as many as a buffer holds with one write and without a line of the log for each (RUNZMSU);
 *   - sends the answer and the status line, and ends.
 *
 * It leaves out what such a request does not need without errors: waiting for a request that arrives in pieces, any
 * other request, configuration keys besides SERVER, peers of other hosts, names to be resolved, sends that are cut
 * short, escaping in the log, texts and files longer than its buffers. It is built and linked with the agent's own
 * flags.
 */
#define _GNU_SOURCE /* struct ucred, vfork */

#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

/* No larger than the measured requests need, because every touched page of the stack costs time. */
enum { buffer_size = 1024, configuration_size = 4096, file_size = 1 << 20 };

static int debug_log = -1;
static pid_t process_id;

/* Ends the program if the condition is false, which no measured request causes. The number identifies the call. */
static void require(int condition, int number) {
    if (!condition) {
        exit(number);
    }
}

__attribute__((format(printf, 1, 2))) static void log_message(const char* format, ...) {
    char line[buffer_size];
    struct timespec now;
    struct tm local;
    clock_gettime(CLOCK_REALTIME, &now);
    localtime_r(&now.tv_sec, &local);
    int length = snprintf(line, sizeof line, "%02d:%02d:%02d.%03ld [%d] <4> ", local.tm_hour, local.tm_min,
                          local.tm_sec, now.tv_nsec / 1000000, (int)process_id);
    va_list arguments;
    va_start(arguments, format);
    length += vsnprintf(line + length, sizeof line - (size_t)length, format, arguments);
    va_end(arguments);
    if (length >= (int)sizeof line) {
        length = sizeof line - 1;
    }
    require(write(debug_log, line, (size_t)length) == length, 2);
}

static int take_over_socket(void) {
    const int peer = dup(0);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    require(null >= 0 && peer >= 0 && dup2(null, 0) >= 0 && dup2(null, 1) >= 0 && dup2(null, 2) >= 0, 3);
    return peer;
}

/* Returns whether qr.conf names this host. */
static int host_is_server(void) {
    char text[configuration_size];
    const int file = open("/usr/kumel/zembrath/qr.conf", O_RDONLY | O_CLOEXEC);
    const ssize_t length = read(file, text, sizeof text - 1);
    require(length >= 0, 4);
    text[length] = '\0';
    struct utsname host;
    uname(&host);
    return strstr(text, "SERVER = localhost") != NULL || strstr(text, host.nodename) != NULL;
}

static void open_log(void) {
    char path[128];
    const time_t now = time(NULL);
    struct tm local;
    localtime_r(&now, &local);
    strftime(path, sizeof path, "/usr/kumel/zembrath/logs/zmlogadmagent/log.%Y%m%d", &local);
    debug_log = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    process_id = getpid();
    require(debug_log >= 0, 5);
}

static int peer_is_root(int peer) {
    struct sockaddr_storage name;
    socklen_t name_size = sizeof name;
    struct ucred credentials = {0, 1, 1};
    socklen_t size = sizeof credentials;
    if (getpeername(peer, (struct sockaddr*)&name, &name_size) != 0) {
        return 0;
    }
    if (name.ss_family == AF_INET) {
        return ntohs(((const struct sockaddr_in*)&name)->sin_port) < 1024;
    }
    return name.ss_family == AF_UNIX && getsockopt(peer, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 &&
           credentials.uid == 0;
}

/* Takes one netstring out of the text at *next and moves *next to its end; ends the program when there is none. */
static char* take_string(char** next) {
    char* text = NULL;
    const unsigned long length = strtoul(*next, &text, 10);
    require(*text == ':' && length < buffer_size && text[1 + length] == ',', 6);
    *next = text + length + 2;
    text[length + 1] = '\0';
    return text + 1;
}

/* Reads a request without the bytes that follow it, and returns its first two words. */
static void read_request(int peer, char* request, char** word, char** argument) {
    const ssize_t length = recv(peer, request, 2 * buffer_size, MSG_PEEK);
    require(length >= 0, 6);
    request[length] = '\0';
    char* next = request;
    const int words = atoi(take_string(&next));
    *word = take_string(&next);
    log_message("receive_inputs_from_client: string from peer C=%s\n", *word);
    for (int i = 1; i < words; ++i) {
        *argument = take_string(&next);
        log_message("receive_inputs_from_client: string from peer C=%s\n", *argument);
    }
    char taken[2 * buffer_size];
    require(recv(peer, taken, (size_t)(next - request), 0) == next - request, 6);
}

/* Sends a line. In the log, "\n" replaces its newline. */
static void send_line(int peer, const char* text, int length) {
    require(write(peer, text, (size_t)length) == length, 7);
    log_message("socksend: sent installment #1: %d of %d\n", length, length);
    log_message("socksend: sent M=%.*s\\n L=%d, %d\n", length - 1, text, length, length);
}

static void answer_disk_space(int peer, const char* directory) {
    char line[buffer_size];
    struct statvfs space;
    log_message("calc_free_space_send_output: Checking available space at %s\n", directory);
    require(statvfs(directory, &space) == 0, 8);
    const int length =
        snprintf(line, sizeof line, "CALCLOGSIZE: TARGET_DIR=%s FREE_SPACE=%llu MB TOTAL_SPACE=%llu MB\n", directory,
                 ((unsigned long long)space.f_bsize * space.f_bavail) >> 20,
                 ((unsigned long long)space.f_bsize * space.f_blocks) >> 20);
    require(length < (int)sizeof line, 8);
    send_line(peer, line, length);
}

static void enable_volume_manager(const char* argument) {
    static char text[file_size];
    static const char path[] = "/usr/kumel/volmgr/vm.conf";
    static const char new_path[] = "/usr/kumel/volmgr/vm.conf.new";
    static const char setting[] = "VERBOSE\n";
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const int copy = open(new_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const ssize_t length = read(file, text, sizeof text);
    require(length >= 0 && copy >= 0, 9);
    close(file);
    for (const char* line = text; line < text + length;) {
        const char* const end = (const char*)memchr(line, '\n', (size_t)(text + length - line)) + 1;
        const int is_setting = memmem(line, (size_t)(end - line), "VERBOSE", 7) != NULL;
        const size_t size = is_setting ? sizeof setting - 1 : (size_t)(end - line);
        require(write(copy, is_setting ? setting : line, size) == (ssize_t)size, 9);
        line = end;
    }
    close(copy);
    require(rename(new_path, path) == 0, 9);
    log_message("process_vmconf: PROCESS=%s STATUS=0 MSG=Set debug logging\\n\n", argument);
}

static void run_connection_broker_tool(void) {
    static const char command[] = "/opt/HOLKkob/bin/ktlogcfg -a -p 50936 -o 103 -s DebugLevel=5";
    log_message("process_kob: For C=KOB CA=5 executing cmd=%s\n", command);
    require(system(command) == 0, 10);
    log_message("process_kob: Sending to caller: PROCESS=KOB:kob STATUS=0 MSG=Success\\n\n");
    log_message("process_kob: Completed w/ 0\n");
}

static void answer_logging(int peer, const char* argument) {
    char line[buffer_size];
    const int is_volume_manager = strncmp(argument, "VMCONF:", 7) == 0;
    log_message("handle_logging: enable logging C=ENABLELOGGING\n");
    if (is_volume_manager) {
        enable_volume_manager(argument);
    } else {
        run_connection_broker_tool();
    }
    const int length = snprintf(line, sizeof line, "PROCESS=%.64s STATUS=0 MSG=%s\n", argument,
                                is_volume_manager ? "Set debug logging" : "Success");
    log_message("handle_logging: Responding (len=%d) %.*s\\n\n", length, length - 1, line);
    send_line(peer, line, length);
}

/* In the measured folders no name of a file begins with a dot. */
static const struct dirent* next_file(DIR* stream) {
    const struct dirent* entry = NULL;
    do {
        entry = readdir(stream);
    } while (entry != NULL && entry->d_name[0] == '.');
    return entry;
}

static void clean_up(int peer, const char* directory) {
    char line[buffer_size];
    DIR* const stream = opendir(directory);
    require(stream != NULL, 11);
    for (const struct dirent* entry = NULL; (entry = next_file(stream)) != NULL;) {
        require(unlinkat(dirfd(stream), entry->d_name, 0) == 0, 11);
    }
    require(rmdir(directory) == 0, 11);
    send_line(peer, line, snprintf(line, sizeof line, "CLEANUP: Successfully cleaned up %s\n", directory));
}

static void run_support_utility(int peer, char* folder) {
    static char path[] = "/usr/kumel/zembrath/bin/support/old_zmsu";
    static char option[] = "-odir";
    char* const argv[] = {path, option, folder, NULL};
    int status = 0;
    const pid_t child = vfork();
    if (child == 0) {
        dup2(peer, 0);
        dup2(peer, 1);
        dup2(peer, 2);
        execv(path, argv);
        _exit(29);
    }
    require(waitpid(child, &status, 0) == child && status == 0, 12);
}

static void write_whole(int peer, const char* text, size_t length) {
    require(write(peer, text, length) == (ssize_t)length, 12);
}

static void list_packages(int peer, const char* collection) {
    static char text[65536];
    static char folder[2 * buffer_size];
    size_t length = 0;
    snprintf(folder, sizeof folder, "%s/zmla-%029d-floor0", collection, (int)process_id);
    run_support_utility(peer, folder);
    DIR* const stream = opendir(folder);
    require(stream != NULL, 12);
    for (const struct dirent* entry = NULL; (entry = next_file(stream)) != NULL;) {
        if (sizeof text - length < 2 * buffer_size) {
            write_whole(peer, text, length);
            length = 0;
        }
        length += (size_t)sprintf(text + length, "ZMSU PACKAGE=%s/%s\n", folder, entry->d_name);
    }
    write_whole(peer, text, length);
}

static void answer(int peer, const char* word, const char* argument) {
    if (strcmp(word, "GETDISKSPACE") == 0) {
        answer_disk_space(peer, argument);
    } else if (strcmp(word, "CLEANUP") == 0) {
        clean_up(peer, argument);
    } else if (strcmp(word, "RUNZMSU") == 0) {
        list_packages(peer, argument);
    } else {
        answer_logging(peer, argument);
    }
}

int main(void) {
    static const char status_line[] = "EXIT STATUS 0 the requested operation was successfully completed\n";
    char request[2 * buffer_size + 1];
    char* word = NULL;
    char* argument = NULL;
    umask(022);
    const int peer = take_over_socket();
    const int listed = host_is_server();
    open_log();
    signal(SIGPIPE, SIG_IGN);
    if (!listed || !peer_is_root(peer)) {
        return 1;
    }
    log_message("xnet_verify_peer_creds: H=local P=0 U=root F=0x42 UT=2\n");
    log_message("setup_comms_w_client: verified credentials of peer\n");
    read_request(peer, request, &word, &argument);
    log_message("process_request: processing request R=%s\n", word);
    log_message("is_cmd_valid: command is valid C=%s\n", word);
    answer(peer, word, argument);
    log_message("zmlogadmagent: closing peer SOCK (%d) in QAS NSC=0\n", peer);
    send_line(peer, status_line, sizeof status_line - 1);
    return 0;
}
