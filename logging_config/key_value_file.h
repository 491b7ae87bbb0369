// The editor of key-value files. Each line of a file is "KEY = value", "KEY=value" or a bare keyword; "#" marks what is
// switched off. A setting is the key immediately followed by the separator, compared byte for byte.
//
// A change writes a new file, the path with ".new" appended, and renames it over the old file. The new file has the
// default mode, and this process owns it. No lock is taken. Write errors are ignored: only opening and renaming can
// fail. If renaming fails, the new file is left. If the new file exceeds the file size limit of this process (EFBIG),
// the change fails as if the file could not be opened, and the file is left too. The components and their tools expect
// these rules. For qr.conf and the unified logging store, platform/library/safe_rewrite.h has other rules.
//
// Messages go into the caller's buffer `error` of `size` bytes, cut and NUL-terminated, and into the debug log. Without
// a message the buffer keeps its content, so callers clear it.
#pragma once

#include <string>

// Marks a line that is switched off.
inline constexpr const char* comment_mark = "#";

// Values of the argument `set`. Any other number means make_active.
namespace set_flag {

inline constexpr int restore_commented = 0;
inline constexpr int make_active = 1;

}  // namespace set_flag

// Makes key, separator and value one line of the file. Does not create a missing file. Returns 0 or
// status::parameter_not_set.
//
// make_active replaces every active line that contains the setting anywhere, or else the first commented line that
// contains it, or else appends the line. A line that contains "#" anywhere counts as commented.
//
// restore_commented switches the first commented line that contains the whole new line back on, unless a line with the
// setting is active. If it finds neither, it reports that and succeeds.
int set_parameter_value(std::string path, std::string key, std::string separator, std::string value, char* error,
                        unsigned long size, int set);

// Puts `comment` in front of every line that begins with the setting, or removes these lines if `comment` is empty. If
// there is no such line, reports that, does not change the file and succeeds. Returns 0 or status::parameter_not_unset.
int unset_parameter(std::string path, std::string key, std::string separator, char* error, unsigned long size,
                    std::string comment);
