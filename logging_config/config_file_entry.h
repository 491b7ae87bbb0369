// A request value NAME=LEVEL for a component that keeps its level in one entry of a key-value file.
#pragma once

#include <string>

#include "logging_config/response_lines.h"

// Sets the key to LEVEL of the entry NAME=LEVEL, or to the default level without "=", in the key-value file `path`.
// Appends one line. Returns the result of set_parameter_value.
int process_config_file_entry(std::string category, std::string entry, Responses& responses, std::string path,
                              std::string key, std::string separator, std::string default_level);
