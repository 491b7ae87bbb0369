// The log directories that exist.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "state_command/output.h"

struct LogRoot {
    const char* category;
    const char* path;
};

// In the order of the categories.
inline constexpr std::size_t log_root_count = 2;
extern const LogRoot log_roots[log_root_count];

struct LogDirectory {
    std::string path;
    mode_t mode = 0;  // permission bits
    uid_t owner = 0;
    gid_t group = 0;
    bool is_link = false;  // directly below a root: a link to a directory, which its component takes for one
};

// Lists the directories below the root in the order of their paths, at any depth, without the root itself. The agent's
// own folders, for its log and for evidence, and what is below them are no log directories. What cannot be read is a
// problem.
[[nodiscard]] std::vector<LogDirectory> list_log_directories(const LogRoot& root, Problems& problems);

// Returns the root as a directory, or nothing when it is missing.
[[nodiscard]] std::vector<LogDirectory> list_root(const LogRoot& root, Problems& problems);

// Tells whether the path is below a root and not in one of the agent's own folders. Both are without links.
[[nodiscard]] bool is_log_directory_place(const std::string& path);
