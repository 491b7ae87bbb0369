// The directories that the support tools collect into, and their removal.
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

// Removes a directory: with option 1 and all that is below it, with option 0 and the plain files in it, but not
// when it holds a directory. Follows links: what a link to a directory leads to is emptied too.
// Returns 0, or status::directory_failed at the first thing that could not be removed; what was removed before
// it is gone.
int remove_directory(const char* path, int option);

// Carries out a CLEANUP request: removes each directory named from element 1 on whose name has the exact shape
// of a collection result, and sends an answer for each. Returns the status of the last one (0, that of
// remove_directory, or status::cleanup_refused), or status::output_not_sent at once.
int perform_cleanup_zmladir(const RequestVector& request, int socket);
