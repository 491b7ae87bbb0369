// The JSON output: one object a line, in ASCII.
#pragma once

#include <string>

#include "state_command/output.h"
#include "state_command/settings_in_force.h"

// Each of these prints one object: the first one, with the host and the time; a setting; a file that could not be read;
// the command's own failure.
void print_json_header();
void print_json(const Setting& setting);
void print_json(const Problem& problem);
void print_json_failure(const std::string& message);
