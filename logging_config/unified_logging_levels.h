// Categories ZMKTUL, QPKTUL and SEARCHKTUL: levels of originators in the unified logging configuration.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// For each value OID=LEVEL, sets the originator's debug level to LEVEL, or to 6 without "=", and its diagnostic level
// to 6. For product 51216, removes the originator's own entry instead of writing debug level 1 or diagnostic level 6,
// if that is the product's default. Appends one line for each value. Returns 0, or status::ktul_not_loaded if the
// configuration of any originator cannot be loaded. Other failures are reported only in the lines.
int process_ktul_loglevel(std::string category, const Values& values, Responses& responses, int product);
