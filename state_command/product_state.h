// All that the logging requests change, at one moment.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "state_command/file_state.h"
#include "state_command/log_directories.h"
#include "state_command/output.h"

struct ProductState {
    std::string host;
    std::string time;
    std::map<std::string, FileState> files;               // by path
    std::map<std::string, LogDirectory> log_directories;  // by path; the roots are among them
    std::map<std::string, int> unread_directories;        // and the error number
};

// Reads the state of this host. Where a link has a file's name, the name that it leads to is a file as well. Each file
// or directory that cannot be read is among them as such, and a problem.
[[nodiscard]] ProductState read_product_state(Problems& problems);

// Reads only the log directories.
void read_log_directories(ProductState& state, Problems& problems);

// Tells whether nothing is known of the directory, because it or one above it could not be read.
[[nodiscard]] bool is_unread(const ProductState& state, const std::string& path);
