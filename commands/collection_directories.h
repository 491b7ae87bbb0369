// The directories in which the support tools collect, and the request CLEANUP, which removes them.
#pragma once

#include <string>

#include "agent/request_vector.h"

// Returns the default collection directory, in the same static buffer on every call.
const char* GETZMLALOGDIR();

// Chooses the collection directory: the value of "--collectdir" in `args`, or else `default_dir`. Creates it if it is
// missing, and chooses the name of a temporary directory in it, which is not created. Removes the option and its value
// from `args`; an option without a value is ignored and kept. Returns 0 with `temporary` and `collection` set, or
// status::collection_directory_not_created.
int get_zmcplogs_temp_destdir(RequestVector& args, const char* default_dir, std::string& temporary,
                              std::string& collection);

// Carries out a CLEANUP request: removes each directory that elements 1 and up name, and sends a line for each. Rejects
// a directory whose name is not exactly that of a collection result. Returns the status of the last directory: 0, the
// status of remove_directory, or status::cleanup_refused. If a line cannot be sent, stops and returns
// status::output_not_sent.
int perform_cleanup_zmladir(const RequestVector& request, int socket);
