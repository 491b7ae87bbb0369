// Reception of the request.
#pragma once

#include "agent/request_vector.h"

// Reads one request, an argument count and that many strings, and appends the strings to `request`, which is
// empty on entry. Returns 0 with at least one element, or status::request_not_received, and then
// the strings received so far stay. Consumes exactly the request's bytes: what follows on the socket belongs to
// the tool that the request may run.
int receive_inputs_from_client(int socket, RequestVector& request);
