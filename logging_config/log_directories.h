// Categories ZMLOGDIR and MMLOGDIR: components that write debug logs if a directory of their name exists.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// For "enable", creates the directory NAME of each value NAME or NAME=PERM in the product's log root. PERM is ignored.
// Any other action creates nothing and is answered as a success. Appends one line for each value. Returns 0: failures
// are reported only in the lines.
int process_zmulogdir(std::string category, const Values& values, Responses& responses, const char* action);

// Creates the volume manager's log root, whatever the action, and for "enable" a directory in it for each value. Any
// other action is answered as a success. Appends one line for each value and returns 0. If the log root cannot be
// created, appends a single line and returns status::failure.
int process_mmlogdir(std::string category, const Values& values, Responses& responses, const char* action);
