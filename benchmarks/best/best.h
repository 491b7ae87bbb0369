/*
 * best: everything that other processes can observe of a request, in the cheapest known way.
 *
 * floor.c leaves out what a request does not need; this program leaves out only what nobody can observe. It writes the
 * agent's log lines, each with its own time and its own write. It sends the same bytes in the same pieces, and leaves
 * the same files. It takes the same locks, flushes the same files, and writes single lines where the agent does. The
 * agent could save what it costs beyond this program. What this program costs beyond the floor is the price of the
 * agent's guarantees. A test compares the two programs' answers, logs and files.
 *
 * It answers only the measured requests, if no call fails. Otherwise it ends with a status of its own. It is built and
 * linked like the agent.
 */
#ifndef BEST_H
#define BEST_H

#include <stddef.h>
#include <sys/types.h>

enum { most_words = 64, text_size = 2048, small_file = 16384 };

enum { detail = 2, information = 4, error_level = 16 };

/* best_log.c: the debug log and the response channel. */
void open_log(void);
/* Formats up to text_size bytes, escapes control characters and writes one line. */
void log_line(int level, const char* tag, const char* format, ...) __attribute__((format(printf, 3, 4)));
/* Lines carry the process ID, which changes in a child. */
void use_process_id(pid_t process);
void send_text(int peer, const char* text, size_t length);

/* best_files.c: the three ways to change a file. */
struct text {
    char* bytes;
    size_t length;
};
/* Reads a file; the result is valid until the next call. */
struct text read_file(const char* path);
/* Replaces each line that holds `match`, or the first remark that does, by match and value, with one write a line. */
void set_parameter(const char* path, const char* match, const char* value);
/* Replaces the line that begins with each prefix by that prefix and its value, under a lock, flushed. */
struct edit {
    const char* prefix;
    const char* value;
};
void rewrite_safely(const char* folder, const char* name, const struct edit* edits, int count);

/* best_categories.c and best_directories.c: the requests. */
void answer_logging(int peer, char** words, int count);
void answer_disk_space(int peer, const char* directory);
void answer_clean_up(int peer, const char* directory);
void answer_listing(int peer, const char* collection);

/* Formats a text that has to fit, and returns its length. */
int print(char* out, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));
/* Ends the program if the condition is false, which no measured request causes. The number identifies the call. */
void require(int condition, int number);

#endif
