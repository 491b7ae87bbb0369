// Folders with everything below them. These functions never follow a link, and ignore names that disappear while they
// work. They return 0 or an error number: ENAMETOOLONG for folders in folders at a depth that no path can have.
#pragma once

#include <string>
#include <vector>

#include "platform/posix.h"

// Names in a folder, in order, without "." and "..".
struct FolderNames {
    std::vector<std::string> names;
    int error = 0;  // why there may be more
};
[[nodiscard]] FolderNames names_in(DIR* folder);

// Returns the names of the folders in the open folder.
[[nodiscard]] FolderNames list_folders(int folder);

// Makes a folder with mode 0700 and opens it. On failure the descriptor is not valid and errno says why. EPERM also
// means that another user, who can write the parent, has put something else in the place of the new folder.
[[nodiscard]] Descriptor make_folder_at(int parent, const std::string& name);

// Renames the folder, but never over anything else: fails with EEXIST. Where the kernel or the file system cannot do
// that, this function makes an empty folder under the new name and renames over that, which fails if something else
// takes its place.
[[nodiscard]] int rename_to_new_at(int parent, const std::string& from, const std::string& to);

// Removes everything in the open folder that is on the folder's own file system. Returns the error number of the first
// entry that is left.
[[nodiscard]] int remove_contents(int folder);

// Removes the folder with everything in it, as remove_contents does.
[[nodiscard]] int remove_tree_at(int parent, const std::string& name);

// Removes the folder if it contains only folders that contain only folders, and so on. Returns ENOTEMPTY if it contains
// anything else. After an error nothing is removed, unless something was added in the meantime.
[[nodiscard]] int remove_empty_tree_at(int parent, const std::string& name);
