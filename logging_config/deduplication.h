// Category RK: the deduplication components.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Reads the path of the configuration file from the registry: what follows the first "=" in the first line that
// contains "kpa.cfg", up to a zero byte. A line without "=" leaves `path` unchanged and counts as found. Returns 0,
// status::registry_not_opened or status::registry_without_file. Writes the message of a failure into `error`, a buffer
// of `size` bytes.
int get_kpa_conf_filepath(std::string registry, std::string& path, char* error, unsigned long size);

// Finds the configuration file of a component: a fixed file for "qtpiped", and for any other the file that the registry
// names. Returns and reports like get_kpa_conf_filepath.
int get_rk_conf_filepath(std::string component, std::string& path, char* error, unsigned long size);

// Sets "Logging" to VALUE followed by ",thread" in the file of each component NAME=VALUE. VALUE is "full" without "=".
// Edits each file once: later components with the same file repeat its outcome. Appends one line for each component.
// Returns 0: failures are reported only in the lines.
int process_rk(std::string category, const Values& values, Responses& responses);
