// The built-in requests.
#pragma once

#include "agent/request_vector.h"

// Carries out a request with a built-in command word, element 0, and sends its output to the peer. Returns the status
// of the word's handler. A word without a handler succeeds and is only logged.
int perform_request_send_output(const RequestVector& request, int socket);
