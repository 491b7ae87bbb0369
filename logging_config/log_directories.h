// Categories ZMLOGDIR and MMLOGDIR: components that write debug logs once a directory of their name exists.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// With the action "enable", creates the directory NAME of each value NAME or NAME=PERM below the product's log root;
// PERM is ignored. Any other action creates nothing and is answered as a success. Appends one line for each
// value. Returns 0.
int process_zmulogdir(std::string category, const Values& values, Responses& responses, const char* action);

// Creates the volume manager's log root whatever the action, and with "enable" a directory below it for each value.
// Any other action is answered as a success. Appends one line for each value. Returns 0, or status::failure after a
// single line when the log root could not be created.
int process_mmlogdir(std::string category, const Values& values, Responses& responses, const char* action);
