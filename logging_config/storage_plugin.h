// Category RKPLUGIN: the storage plug-in of the deduplication components.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Sets "LOGLEVEL" to the level of the one value "rkplugin" or NAME=LEVEL (10 for NAME alone), and restores a
// commented "DEBUGLOG". Any other list of values gets a line that rejects it, and its first value is applied all
// the same. Returns 0.
int process_rkplugin(std::string category, const Values& values, Responses& responses);
