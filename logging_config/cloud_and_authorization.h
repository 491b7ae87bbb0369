// Categories CORVID, CLOUD and HOLKAZ: components with one log-level entry in a key-value file.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Each sets the level of every value NAME=LEVEL, or the category's default for NAME alone, and appends one line for
// it. They return the bitwise OR of the single results: 0 only when every one is 0. In CORVID the name "zmwqf" goes
// to the storage server's file and every other name to the recovery server's.
int process_corvid(std::string category, const Values& values, Responses& responses);
int process_cloud(std::string category, const Values& values, Responses& responses);
int process_holkaz(std::string category, const Values& values, Responses& responses);
