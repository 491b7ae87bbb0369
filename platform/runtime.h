// The product's runtime library: the debug log, status texts, log directories and temporary names.
#pragma once

#include <string>

// Levels of debug log messages. All levels are written.
namespace log_level {
inline constexpr int detail = 2;
inline constexpr int information = 4;
inline constexpr int warning = 8;
inline constexpr int error = 16;
}  // namespace log_level

// Opens `root`/`program`/log.YYYYMMDD (local date) to append and makes it the debug log of this process.
// Creates the file with `mode` less the umask, and the folder `root`/`program` (0755) when only that last
// component is missing. `program` is passed twice, as folder and as name; `out` is reserved and left alone.
// Returns the descriptor, which the library owns, which is close-on-exec and never 0, 1 or 2; or -1, and
// then messages go on being dropped.
int open_debug_log(const char* root, const char* program, const char* name, int mode, int* out);

// Writes one message to the debug log as one line, however long, with a single write:
//   HH:MM:SS.mmm [PID] <LEVEL> TAG: MESSAGE
// Backslashes and control characters in TAG and MESSAGE are escaped, so a message is never two lines.
// `tag` may be null (an empty TAG). Does nothing before the log is open. Never changes errno.
void logmsgf(int level, const char* tag, const char* format, ...) __attribute__((format(printf, 3, 4)));

// Returns the short English text of a status code: never empty, no newline. The text of a code without one
// of its own names the number. The text belongs to the library and stands until the next call.
const char* getECmsg(int status);

// Returns the permission mode with which the product creates the log directory of this name.
short getDirCreationMode(const char* name);

// Creates the log directory `path` with `mode`, and missing parents with 0755, both less the umask. Returns 0 with
// `*error` 0 when it created the directory, 0 with EEXIST when a directory was there, and otherwise -1 with the error
// number in `*error` and in errno (ENOTDIR when something else has the name).
int mklogdirpath(const char* path, int mode, int* error);

// Chooses the name of a file that does not exist in `directory`, and returns it with the directory in front.
// Nothing is created. The name is `prefix`, "-", 29 digits (nanoseconds since 1970, process ID), "-", and
// six random characters of a to z and 0 to 9.
std::string temporary_name(const std::string& directory, const std::string& prefix);
