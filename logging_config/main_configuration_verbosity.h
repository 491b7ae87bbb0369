// Category QRCONF: verbosity keys of the main configuration.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Sets the key of each entry NAME=LEVEL in qr.conf, all in one update. LEVEL is 5 without "=". If LEVEL is "-1" and the
// global verbosity is 0, sets the key to 0 or removes it. Appends one line for each entry, all with the same outcome.
// Ignores the action. Returns 0 or the status of the configuration library.
int process_qrconf(std::string category, const Values& entries, Responses& responses, const char* action);
