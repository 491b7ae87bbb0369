// JSON, one object a line, in ASCII.
#pragma once

#include <string>

#include "state_command/output.h"
#include "state_command/settings_in_force.h"

// Print one object each: the first one, which says where and when this is; a setting; what could not be read; the
// command's own failure.
void print_json_header();
void print_json(const Setting& setting);
void print_json(const Problem& problem);
void print_json_failure(const std::string& message);
