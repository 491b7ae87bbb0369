// Requests with a collection directory: its paths, and the agent's messages about it.
#pragma once

#include <string>
#include <vector>

#include "tests/support/debug_log_lines.h"
#include "tests/support/product_tree.h"
#include "tests/support/request_case.h"

// The default collection directory, its temporary directory, and the temporary directory in the collection directory
// "/tmp/c". "<temporary>" is a placeholder of matches_pattern.
inline const std::string evidence = default_collection_folder;
inline const std::string evidence_temporary = evidence + "/<temporary>";
inline const std::string c_temporary = "/tmp/c/<temporary>";

// The message that names the temporary directory of a request.
[[nodiscard]] LogLine chosen(const std::string& collection);

// The message that a collection directory cannot be created in a folder that does not exist.
[[nodiscard]] LogLine not_created(const std::string& collection);

// The messages of a failed request, up to the removal of its temporary directory.
[[nodiscard]] std::vector<LogLine> cleanup_required(int status);
[[nodiscard]] std::vector<LogLine> cleaning_up(int status, const std::string& temporary);

// The messages of remove_directory and of others that need a directory.
[[nodiscard]] LogLine removing(const std::string& directory);
[[nodiscard]] LogLine missing_directory(const char* tag, const std::string& directory);

inline const LogLine nothing_to_remove = {log_level::warning, "perform_cleanup_on_failure",
                                          "Directory string is empty"};
