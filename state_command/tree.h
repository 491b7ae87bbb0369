// Folders with all that is below them. A link is never followed, and what is gone has been removed.
#pragma once

#include <string>
#include <vector>

// Adds the names of the folders in the open folder. Returns 0 or an error number.
[[nodiscard]] int list_folders(int folder, std::vector<std::string>& names);

// Removes the folder of that name with all that it holds, relative to opened folders, on its own file system. Returns 0
// or the error number of the first entry that is still there.
[[nodiscard]] int remove_tree_at(int parent, const std::string& name);

// Removes the folder of that name where it holds nothing but folders of which the same is true. Returns 0, ENOTEMPTY or
// another error number; then nothing is removed unless something was added meanwhile.
[[nodiscard]] int remove_empty_tree_at(int parent, const std::string& name);
