// Category RKPLUGIN: the storage plug-in of the deduplication components.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Sets "LOGLEVEL" to LEVEL of the first value NAME=LEVEL, or to 10 without "=", and switches a commented "DEBUGLOG"
// back on. Appends one line for it. Before that, any values other than exactly one "rkplugin" get a line that rejects
// them; the first value is applied anyway. Returns 0: failures are reported only in the lines.
int process_rkplugin(std::string category, const Values& values, Responses& responses);
