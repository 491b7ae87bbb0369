// Category JAVAGUI: the debug switches of the administration console, in its properties file.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Turns command tracing and the debug mask on for "enable", comments both out for "disable" and "reset". The first
// value NAME=MASK sets the mask; the file is edited once for all values. Appends one line for each value.
// Returns 0: a failure is told by the lines alone.
int process_javagui(std::string category, const Values& values, Responses& responses, std::string action);
