// Category QRCONF, verbosity keys of the main configuration; and the step that sets one level in one key-value file.
#pragma once

#include "logging_config/categories.h"

// Sets the key of each entry NAME=LEVEL (5 for NAME alone) in qr.conf, all in one update; LEVEL "-1" while the
// global verbosity is 0 zeroes or removes the key. Appends one line for each entry, all with one outcome. The action
// is not consulted. Returns 0 or the status of the configuration library.
int process_qrconf(std::string category, const Values& entries, Responses& responses, const char* action);

// Sets the key to the level of the entry NAME=LEVEL, or to the default for NAME alone, in the key-value file at
// `path`, and appends one line. Returns as set_parameter_value.
int process_config_file_entry(std::string category, std::string entry, Responses& responses, std::string path,
                              std::string key, std::string separator, std::string default_level);
