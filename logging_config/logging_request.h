// Logging requests: splits their arguments and calls the handlers of the categories.
#pragma once

#include <string>
#include <vector>

#include "agent/request_vector.h"

// Splits "category:value,value" at the first colon, and what follows at every comma. Trims nothing; the category and
// the values may be empty. Returns 0 with the values appended, or status::logging_argument_not_valid if there is no
// colon or nothing follows it.
int split_ctgy_args(std::string argument, std::string& category, std::vector<std::string>& values);

// Carries out a logging request: calls the category's handler for each argument, elements 1 and up, then sends the
// response lines of all handlers. `action` is "enable", "disable" or "reset". Skips unknown categories. Returns the
// status of the last argument, or status::output_not_sent. Stops at the first malformed argument with
// status::logging_argument_not_valid: earlier changes remain, but no line is sent.
int handle_logging(const RequestVector& request, int socket, const char* action);
