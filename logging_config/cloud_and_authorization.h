// Categories CORVID, CLOUD and HOLKAZ: components with one log-level entry in a key-value file.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Set the level of each value NAME=LEVEL, or the category's default level for a value without "=", and append one line
// for each value. Return the bitwise OR of the single results, which is 0 only if all succeeded. In CORVID the name
// "zmwqf" selects the storage server's file, and any other name the recovery server's.
int process_corvid(std::string category, const Values& values, Responses& responses);
int process_cloud(std::string category, const Values& values, Responses& responses);
int process_holkaz(std::string category, const Values& values, Responses& responses);
