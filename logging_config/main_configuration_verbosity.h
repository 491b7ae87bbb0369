// Category QRCONF: verbosity keys of the main configuration.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Sets the key of each entry NAME=LEVEL (5 for NAME alone) in qr.conf, all in one update; LEVEL "-1" while the
// global verbosity is 0 zeroes or removes the key. Appends one line for each entry, all with one outcome. The action
// is not consulted. Returns 0 or the status of the configuration library.
int process_qrconf(std::string category, const Values& entries, Responses& responses, const char* action);
