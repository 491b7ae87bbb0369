// The logging categories, each a component of the product with a place of its own for its debug settings.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Hands the values of one category argument to the category's handler, which appends its response lines.
// Returns the handler's status, or 0 for a category that nobody knows.
int process_category(const std::string& category, const Values& values, Responses& responses, const char* action);
