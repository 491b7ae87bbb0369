// Category KOB: the debug level of the connection broker. Only the broker's own tool may change it.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Accepts exactly one value "kob=LEVEL", where LEVEL converts to a number from 0 to 10, and sets `name` and `level` to
// its parts. LEVEL may have any text after the number; a text without a number converts to 0. Returns 0 or
// status::kob_arguments_not_valid.
int extract_kob_values(const Values& values, std::string& name, std::string& level);

// Runs the broker's logging tool with LEVEL as the peer sent it, and appends one line. Returns the raw wait status of
// the shell that ran it (256 for exit status 1), or status::kob_arguments_not_valid without a line.
int process_kob(std::string category, const Values& values, Responses& responses);
