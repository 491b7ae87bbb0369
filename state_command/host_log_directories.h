// The log directories of this host.
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
    bool is_link = false;  // a link to a directory, directly below a root: the component uses it as its directory
};

// Returns the directories below the root, at any depth, each before those in it. Leaves out the root itself and the
// agent's own folders for its log and for evidence. A directory that cannot be read is a problem, as is a root that is
// reached only through a link that other users can change.
[[nodiscard]] std::vector<LogDirectory> list_log_directories(const LogRoot& root, Problems& problems);

// Returns the root itself, or nothing when it is missing.
[[nodiscard]] std::vector<LogDirectory> list_root(const LogRoot& root, Problems& problems);

// Returns whether the path, which has no links, is below a root and not in one of the agent's own folders.
[[nodiscard]] bool is_log_directory_place(const std::string& path);
