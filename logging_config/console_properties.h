// Category JAVAGUI: the debug switches of the administration console, in its properties file.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// For "enable", sets command tracing and the debug mask; for "disable" and "reset", comments both out. Edits the file
// once, with MASK of the first value NAME=MASK, and appends one line for each value. Returns 0: failures are reported
// only in the lines.
int process_javagui(std::string category, const Values& values, Responses& responses, std::string action);
