// The editor of key-value files: "KEY = value", "KEY=value" or a bare keyword on each line, and "#" for what is
// switched off. What it calls a setting is the key immediately followed by the separator, compared to the
// letter.
//
// A change is a whole new copy under the path with ".new" behind it, renamed over the file. The copy is a new file,
// with the mode of new files and this process as its owner; no lock is taken; write errors are ignored.
// Only opening and renaming can fail, and a rename that fails leaves the copy behind. A copy that is larger than this
// process may write (EFBIG) counts as one that could not be opened, and stays too. These rules are fixed, and they are
// not those of the files that the platform library rewrites.
//
// What is to be told goes into the caller's error buffer of `size` bytes, bounded and terminated, and from there
// into the debug log. The buffer stays as it is when there is nothing to tell, so callers clear it.
#pragma once

#include <string>

// Marks a line that is switched off.
inline constexpr const char* comment_mark = "#";

// Values of the argument `set`.
namespace set_flag {

inline constexpr int restore_commented = 0;
inline constexpr int make_active = 1;

}  // namespace set_flag

// Makes key, separator and value a line of the file. With `set` non-zero every active line that contains the
// setting anywhere is replaced, else the first commented one, else the line is appended; a line that contains "#"
// anywhere counts as commented. With `set` zero the first commented line that holds the whole new line is
// switched back on when no active one is there; when there is none either, that is told, and is no failure. Returns 0
// or status::parameter_not_set. A missing file is not created.
int set_parameter_value(std::string path, std::string key, std::string separator, std::string value, char* error,
                        unsigned long size, int set);

// Puts `comment` in front of every line that begins with the setting, or drops these lines when `comment` is empty. A
// file without such a line is not touched; that is told, and is no failure. Returns 0 or
// status::parameter_not_unset.
int unset_parameter(std::string path, std::string key, std::string separator, char* error, unsigned long size,
                    std::string comment);
