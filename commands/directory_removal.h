// The removal of directories that tools have filled, safe against whoever else can write where they lie.
#pragma once

// The options of remove_directory. Any other number is as plain_files_only.
inline constexpr int plain_files_only = 0;  // stops at the first directory in it
inline constexpr int recursively = 1;

// Removes a directory and what is in it. Follows links, but only in a folder that this user owns and that neither group
// nor others can write: there, what a link to a directory leads to is emptied too. A link anywhere else may be a
// stranger's. It is left in place, as is every entry that cannot be examined or whose path has more than 2047 bytes,
// and the directory that holds it remains. `path` itself is followed under the same condition; links above it always
// are. Returns 0, or status::directory_failed at the first thing that could not be removed, with errno set; what was
// removed before it is gone.
int remove_directory(const char* path, int option);
