// The request value NAME=LEVEL of a component that keeps its level in one entry of a key-value file.
#pragma once

#include <string>

#include "logging_config/response_lines.h"

// Sets the key to the level of the entry NAME=LEVEL, or to the default for NAME alone, in the key-value file at
// `path`, and appends one line. Returns as set_parameter_value.
int process_config_file_entry(std::string category, std::string entry, Responses& responses, std::string path,
                              std::string key, std::string separator, std::string default_level);
