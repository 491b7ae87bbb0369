// Removes directories that tools have filled. Other users who can write in their folder cannot redirect the removal.
#pragma once

// Options of remove_directory. Any other number means plain_files_only.
inline constexpr int plain_files_only = 0;  // fails at the first directory in the directory
inline constexpr int recursively = 1;

// Removes a directory and its contents. Returns 0, or status::directory_failed with errno set at the first entry that
// cannot be removed; earlier removals are not undone.
//
// Follows a link only in a folder that this user owns and that neither group nor others can write: there it also
// empties the directory to which the link leads. A link in any other folder may come from another user and is left in
// place. The same rule applies to `path` itself; links above it are always followed.
//
// Also leaves in place what cannot be examined or has a path of more than 2047 bytes. The removal of the directory that
// holds it then fails.
int remove_directory(const char* path, int option);
