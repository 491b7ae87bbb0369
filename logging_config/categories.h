// The logging categories. The components of each keep their debug settings in their own place and format.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Calls the category's handler, which appends its response lines. Returns the handler's status, or 0 for an unknown
// category.
int process_category(const std::string& category, const Values& values, Responses& responses, const char* action);
