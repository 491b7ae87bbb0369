// The built-in requests.
#pragma once

#include "agent/request_vector.h"

// Carries out the request whose command word, element 0, is one of the built-in ones, and streams its output to
// the peer. Returns the status of the word's handler. A word without a handler is reported in the log only and
// succeeds.
int perform_request_send_output(const RequestVector& request, int socket);
