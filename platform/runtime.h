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

// Opens `root`/`program`/log.YYYYMMDD (local date) to append, as the debug log of this process. Creates the file with
// `mode` less the umask. Creates the folder `root`/`program` with 0755 when only that last component is missing.
// `program` is passed twice, as folder and as name; `out` is reserved and not used. Returns the descriptor, or -1 on
// failure; messages are then dropped. The library owns the descriptor. It is close-on-exec and never 0, 1 or 2.
int open_debug_log(const char* root, const char* program, const char* name, int mode, int* out);

// Writes one message of any length to the debug log, as one line with a single write:
//   HH:MM:SS.mmm [PID] <LEVEL> TAG: MESSAGE
// Escapes backslashes and control characters in TAG and MESSAGE, so that no message becomes two lines. A null `tag` is
// an empty TAG. Does nothing before the log is open. Never changes errno.
void logmsgf(int level, const char* tag, const char* format, ...) __attribute__((format(printf, 3, 4)));

// Returns the short English text of a status code, which is never empty and has no newline. For a code that the library
// does not know, the text names the number. The library owns the text; it is valid until the next call.
const char* getECmsg(int status);

// Returns the permission mode with which the product creates the log directory `name`.
short getDirCreationMode(const char* name);

// Creates the log directory `path` with `mode`, and missing parents with 0755, both less the umask. When it created the
// directory, returns 0 and sets `*error` to 0. When the directory existed, returns 0 and sets `*error` to EEXIST.
// Otherwise returns -1, with the error number in `*error` and in errno (ENOTDIR when something else has that name).
int mklogdirpath(const char* path, int mode, int* error);

// Returns the path of a file in `directory` that does not exist. Creates nothing. The name is `prefix`, "-", 29 digits
// (nanoseconds since 1970, process ID), "-", and six random characters of a to z and 0 to 9.
std::string temporary_name(const std::string& directory, const std::string& prefix);
