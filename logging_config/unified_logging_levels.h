// Categories ZMKTUL, QPKTUL and SEARCHKTUL: levels of originators in the unified logging configuration.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Sets the debug level that each value OID=LEVEL names (6 for OID alone) and the diagnostic level 6. For
// product 51216 an originator's own entry is removed instead of written when the level is the product's
// default. Appends one line for each value. Returns 0, or status::ktul_not_loaded when any originator's configuration
// could not be loaded; other failures are told by the lines alone.
int process_ktul_loglevel(std::string category, const Values& values, Responses& responses, int product);
