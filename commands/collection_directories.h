// The directories that the support tools collect into, and the request that removes them.
#pragma once

#include <string>

#include "agent/request_vector.h"

// Returns the default collection directory, the same static buffer on every call.
const char* GETZMLALOGDIR();

// Removes "--collectdir" and its value from `args` (nothing when no value follows), creates the directory that
// they name, else `default_dir`, where it is missing, and chooses the name of a temporary directory inside it, which is
// not created. Returns 0 with `temporary` and `collection` set, or status::collection_directory_not_created.
int get_zmcplogs_temp_destdir(RequestVector& args, const char* default_dir, std::string& temporary,
                              std::string& collection);

// Carries out a CLEANUP request: removes each directory named from element 1 on whose name has the exact shape
// of a collection result, and sends an answer for each. Returns the status of the last one (0, that of
// remove_directory, or status::cleanup_refused), or status::output_not_sent at once.
int perform_cleanup_zmladir(const RequestVector& request, int socket);
