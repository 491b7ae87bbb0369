// Category KOB: the debug level of the connection broker, which only the broker's own tool may change.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Checks that the values are exactly one, "kob=LEVEL", where LEVEL converts to 0 to 10, and hands out its parts.
// Only the conversion is checked: the level text itself may be anything that begins with such a number, or with
// none. Returns 0 or status::kob_arguments_not_valid.
int extract_kob_values(const Values& values, std::string& name, std::string& level);

// Runs the broker's logging tool with the level text as the peer sent it and appends one line. Returns the raw wait
// status of the shell that ran it (256 for exit status 1), or status::kob_arguments_not_valid, with no line.
int process_kob(std::string category, const Values& values, Responses& responses);
