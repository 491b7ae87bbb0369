// Category RK: the deduplication components.
#pragma once

#include <string>

#include "logging_config/response_lines.h"
#include "logging_config/values.h"

// Finds the path that the registry names: what follows the first "=" of its first line with "kpa.cfg" in it,
// unchanged up to a zero byte; a line without "=" leaves `path` as it was. Returns 0, status::registry_not_opened or
// status::registry_without_file; a failure is told in `error`, a buffer of `size` bytes.
int get_kpa_conf_filepath(std::string registry, std::string& path, char* error, unsigned long size);

// Finds the configuration file of a component: a fixed one for "qtpiped", the registry's for every other. Returns
// as get_kpa_conf_filepath.
int get_rk_conf_filepath(std::string component, std::string& path, char* error, unsigned long size);

// Sets "Logging" to VALUE ("full" for NAME alone) and ",thread" in the file of each component NAME=VALUE. A file is
// edited once a call: later components that share it repeat its outcome. Appends one line for each component. Returns
// 0.
int process_rk(std::string category, const Values& values, Responses& responses);
