// Category VMCONF: the volume manager writes debug logs while its configuration holds the line "VERBOSE".
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Makes the line active for "enable" and comments it out for "disable" and "reset", once for all entries, and
// appends one line for each entry. Returns 0 (the outcome is in the lines), or status::failure for another
// action, with no line.
int process_vmconf(std::string category, const Values& entries, Responses& responses, const char* action);
