// Category VMCONF: the volume manager writes debug logs while its configuration contains the line "VERBOSE".
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// For "enable", makes the line active; for "disable" and "reset", comments it out. Edits the file once and appends one
// line for each entry. Returns 0: failures are reported only in the lines. Returns status::failure, without a line, for
// any other action.
int process_vmconf(std::string category, const Values& entries, Responses& responses, const char* action);
