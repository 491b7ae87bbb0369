#define _GNU_SOURCE /* memmem */

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "best.h"

/* A short read of a plain file is its end. */
static struct text read_open_file(int file) {
    static char small[small_file];
    struct text text = {small, 0};
    size_t room = sizeof small;
    for (;;) {
        const ssize_t count = read(file, text.bytes + text.length, room - text.length);
        require(count >= 0, 20);
        text.length += (size_t)count;
        if (text.length < room) {
            return text;
        }
        char* const larger = malloc(16 * room);
        require(larger != NULL, 20);
        memcpy(larger, text.bytes, text.length);
        text.bytes = larger;
        room *= 16;
    }
}

struct text read_file(const char* path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    require(file >= 0, 21);
    const struct text text = read_open_file(file);
    close(file);
    return text;
}

static const char* line_end(const char* line, const char* end) {
    const char* const newline = memchr(line, '\n', (size_t)(end - line));
    return newline == NULL ? end : newline + 1;
}

static int holds(const char* line, const char* end, const char* match) {
    return memmem(line, (size_t)(end - line), match, strlen(match)) != NULL;
}

static int has_active_line(struct text text, const char* match) {
    const char* const end = text.bytes + text.length;
    for (const char* line = text.bytes; line < end;) {
        const char* const next = line_end(line, end);
        if (holds(line, next, match) && memchr(line, '#', (size_t)(next - line)) == NULL) {
            return 1;
        }
        line = next;
    }
    return 0;
}

static void write_line(int file, const char* line, size_t length) {
    require(write(file, line, length) == (ssize_t)length, 22);
}

void set_parameter(const char* path, const char* match, const char* value) {
    char new_path[256];
    char setting[256];
    print(new_path, sizeof new_path, "%s.new", path);
    const size_t length = (size_t)print(setting, sizeof setting, "%s%s\n", match, value);
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    const int copy = open(new_path, flags, 0666);
    require(file >= 0 && copy >= 0, 23);
    const struct text text = read_open_file(file);
    close(file);
    int active = has_active_line(text, match);
    const char* const end = text.bytes + text.length;
    for (const char* line = text.bytes; line < end;) {
        const char* const next = line_end(line, end);
        const int is_remark = memchr(line, '#', (size_t)(next - line)) != NULL;
        if (holds(line, next, match) && !(is_remark && active)) {
            active = 1;
            write_line(copy, setting, length);
        } else {
            write_line(copy, line, (size_t)(next - line));
        }
        line = next;
    }
    require(active, 24);
    close(copy);
    require(rename(new_path, path) == 0, 25);
}

static const struct edit* find_edit(const char* line, const struct edit* edits, int count) {
    for (int i = 0; i < count; ++i) {
        if (strncmp(line, edits[i].prefix, strlen(edits[i].prefix)) == 0) {
            return &edits[i];
        }
    }
    return NULL;
}

static size_t apply_edits(struct text text, const struct edit* edits, int count, char* out, size_t size) {
    const char* const end = text.bytes + text.length;
    char* to = out;
    for (const char* line = text.bytes; line < end;) {
        const char* const next = line_end(line, end);
        const struct edit* const edit = find_edit(line, edits, count);
        require((size_t)(to - out) + (size_t)(next - line) + 64 < size, 26);
        to = edit == NULL ? mempcpy(to, line, (size_t)(next - line))
                          : to + sprintf(to, "%s%s\n", edit->prefix, edit->value);
        line = next;
    }
    return (size_t)(to - out);
}

static int lock_file(const char* folder, const char* name) {
    char path[256];
    print(path, sizeof path, "%s/%s.lock", folder, name);
    const int lock = open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    require(lock >= 0 && flock(lock, LOCK_EX) == 0, 27);
    return lock;
}

/* Gives the new file the old one's mode. Expects that root owns the old file and that neither file has attributes. */
static void take_over_state(int old, int copy) {
    struct stat state;
    require(fstat(old, &state) == 0 && state.st_uid == 0 && state.st_gid == 0, 28);
    require(flistxattr(old, NULL, 0) == 0 && flistxattr(copy, NULL, 0) == 0, 28);
    require(fchmod(copy, state.st_mode & ALLPERMS) == 0, 28);
}

/* Expects a file and not a link: the target of a link would have to be found and locked. */
void rewrite_safely(const char* folder, const char* name, const struct edit* edits, int count) {
    char new_name[256];
    char new_text[small_file];
    print(new_name, sizeof new_name, ".%s.new", name);
    const int lock = lock_file(folder, name);
    const int place = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int old = openat(place, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    require(place >= 0 && old >= 0, 29);
    const size_t length = apply_edits(read_open_file(old), edits, count, new_text, sizeof new_text);
    const int copy = openat(place, new_name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    require(copy >= 0, 30);
    write_line(copy, new_text, length);
    take_over_state(old, copy);
    require(fsync(copy) == 0 && renameat(place, new_name, place, name) == 0 && fsync(place) == 0, 31);
    close(copy);
    close(old);
    close(place);
    close(lock);
}
