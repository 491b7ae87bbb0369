// The state of everything that logging requests change.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "state_command/file_state.h"
#include "state_command/host_log_directories.h"
#include "state_command/output.h"

struct ProductState {
    std::string host;
    std::string time;
    std::map<std::string, FileState> files;               // by path
    std::map<std::string, LogDirectory> log_directories;  // by path, with the roots
    std::map<std::string, int> unread_directories;        // error numbers by path
};

// Reads the state of this host. For a file that is a link, the state also has the link's target. A file or directory
// that cannot be read is in the state as unread, and is a problem.
[[nodiscard]] ProductState read_product_state(Problems& problems);

// Reads only the log directories.
void read_log_directories(ProductState& state, Problems& problems);

// Returns whether nothing is known about the directory, because it or one above it could not be read.
[[nodiscard]] bool is_unread(const ProductState& state, const std::string& path);
