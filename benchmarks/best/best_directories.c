#define _GNU_SOURCE /* vfork, statvfs */

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "best.h"

static const char tool[] = "/usr/kumel/zembrath/bin/support/old_zmsu";

/* Needs no check that the folder exists: measuring its file system fails if it does not. */
void answer_disk_space(int peer, const char* directory) {
    char line[text_size];
    struct statvfs space;
    log_line(information, "calc_free_space_send_output", "Checking available space at %s", directory);
    require(statvfs(directory, &space) == 0, 50);
    const int length = print(line, sizeof line, "CALCLOGSIZE: TARGET_DIR=%s FREE_SPACE=%llu MB TOTAL_SPACE=%llu MB\n",
                             directory, ((unsigned long long)space.f_bsize * space.f_bavail) >> 20,
                             ((unsigned long long)space.f_bsize * space.f_blocks) >> 20);
    send_text(peer, line, (size_t)length);
}

static int is_self_or_parent(const char* name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

/* Uses the entry's type from the directory; examines the entry only without a type, or for a link. */
static int is_directory(int folder, const struct dirent* entry) {
    struct stat state;
    if (entry->d_type != DT_UNKNOWN && entry->d_type != DT_LNK) {
        return entry->d_type == DT_DIR;
    }
    require(fstatat(folder, entry->d_name, &state, 0) == 0, 51);
    return S_ISDIR(state.st_mode);
}

static DIR* open_directory(const char* directory) {
    DIR* const stream = opendir(directory);
    require(stream != NULL, 52);
    return stream;
}

void answer_clean_up(int peer, const char* directory) {
    char line[text_size];
    log_line(information, "is_valid_zmladir", "Directory valid for removal: %s", directory);
    DIR* const stream = open_directory(directory);
    log_line(information, "remove_directory", "Removing directory (%s) Option(0)", directory);
    for (const struct dirent* entry = NULL; (entry = readdir(stream)) != NULL;) {
        if (!is_self_or_parent(entry->d_name)) {
            require(!is_directory(dirfd(stream), entry) && unlinkat(dirfd(stream), entry->d_name, 0) == 0, 53);
        }
    }
    require(rmdir(directory) == 0, 54);
    int length = print(line, sizeof line, "CLEANUP: Successfully cleaned up %s", directory);
    log_line(error_level, "perform_cleanup_zmladir", "Cleanup result D=%s #D=1 NSC=0 M=%s", directory, line);
    line[length++] = '\n';
    line[length] = '\0';
    send_text(peer, line, (size_t)length);
}

/* A name of the time in nanoseconds, the process and six random characters. */
static void choose_name(const char* collection, char* name, size_t size) {
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    unsigned char random[6];
    char end[sizeof random + 1] = {0};
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    require(getentropy(random, sizeof random) == 0, 55);
    for (size_t i = 0; i < sizeof random; ++i) {
        end[i] = letters[random[i] % 36];
    }
    const long long nanoseconds = now.tv_sec * 1000000000LL + now.tv_nsec;
    print(name, size, "%s/zmla-%019lld%010d-%s", collection, nanoseconds, (int)getpid(), end);
    require(access(name, F_OK) != 0, 56);
}

static const char* resolve_tool(const char* word) {
    log_line(information, "getcommandpath", "full cmd path N=%s P=%s", word, tool);
    return tool;
}

/* The child of a vfork has this process's memory until it becomes the tool, and nothing of it has to be copied. */
static void become_tool(int peer, const char* word, char* folder) {
    static const char* const streams[] = {"stdin", "stdout", "stderr"};
    static char option[] = "-odir";
    use_process_id(getpid());
    for (int fd = 0; fd < 3; ++fd) {
        log_line(information, "setup_child_stdfds", "%s dup2() INFD=%d RV=%d", streams[fd], peer, dup2(peer, fd));
    }
    const char* const path = resolve_tool(word);
    char* const argv[] = {strdup(path), option, folder, NULL};
    log_line(information, "setup_execvp_argv", "input C=%s, #ARGS=%d, MAX ARGV SLOTS=%d", path, 3, 512);
    log_line(information, "setup_execvp_argv", "adding arg A=%s I=%d", argv[1], 2);
    log_line(information, "setup_execvp_argv", "adding arg A=%s I=%d", argv[2], 3);
    fcntl(peer, F_SETFD, 0);
    execv(path, argv);
    _exit(29);
}

static void run_tool(int peer, char* folder) {
    static const char tag[] = "execute_cmd_send_output";
    static const char word[] = "RUNZMSU";
    char byte = 0;
    int status = 0;
    resolve_tool(word);
    const pid_t self = getpid();
    const pid_t child = vfork();
    if (child == 0) {
        become_tool(peer, word, folder);
    }
    use_process_id(self);
    log_line(information, tag, "child process started C=%s PID=%d", tool, (int)child);
    require(child > 0 && waitpid(child, &status, 0) == child && status == 0, 57);
    log_line(information, tag, "child process exited CEC=0 C=%s", tool);
    require(fcntl(peer, F_SETFL, O_NONBLOCK) == 0, 58);
    require(recv(peer, &byte, 1, 0) == -1 && errno == EAGAIN, 59);
    log_line(detail, tag, "recv return value=-1 ERRNO=%d (%s)", EAGAIN, strerror(EAGAIN));
    send_text(peer, "\n", 1);
}

void answer_listing(int peer, const char* collection) {
    char folder[1024];
    char line[text_size];
    require(mkdir(collection, 0755) == 0 || errno == EEXIST, 60);
    choose_name(collection, folder, sizeof folder);
    log_line(information, "get_zmcplogs_temp_destdir", "zmcplogs/zmsu o/p dir: %s, collect dir:%s", folder, collection);
    run_tool(peer, folder);
    log_line(information, "list_dir_and_send_output", "Opening dir:%s", folder);
    DIR* const stream = open_directory(folder);
    for (const struct dirent* entry = NULL; (entry = readdir(stream)) != NULL;) {
        if (!is_self_or_parent(entry->d_name) && !is_directory(dirfd(stream), entry)) {
            const int length = print(line, sizeof line, "ZMSU PACKAGE=%s/%s\n", folder, entry->d_name);
            send_text(peer, line, (size_t)length);
        }
    }
}
