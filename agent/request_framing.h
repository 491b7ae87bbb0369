// Reads the request.
#pragma once

#include "agent/request_vector.h"

// Reads one request, an argument count and that many strings, and appends the strings to `request`, which must be
// empty. Returns 0, with at least one string, or status::request_not_received, with the strings received until then.
// Reads only the bytes of the request: those that follow belong to the tool that the request may run.
int receive_inputs_from_client(int socket, RequestVector& request);
