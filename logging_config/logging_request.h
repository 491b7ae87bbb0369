// Logging requests: from "category:value,value" arguments to the handlers of the categories.
#pragma once

#include <string>
#include <vector>

#include "agent/request_vector.h"

// Splits "category:value,value" at its first colon and then at every comma. Nothing is trimmed; values may be empty,
// the category too. Returns 0 with the values appended, or status::logging_argument_not_valid when there is no
// colon or nothing behind it.
int split_ctgy_args(std::string argument, std::string& category, std::vector<std::string>& values);

// Carries out a logging request: hands each category argument, elements 1 and up, to the category's handler, and when
// all are done sends the lines that the handlers left. `action` is "enable", "disable" or "reset". A category that
// nobody knows is passed over. Returns the status of the last argument; status::logging_argument_not_valid
// at the first malformed one, and then the changes made so far stand but no line is sent; or status::output_not_sent.
int handle_logging(const RequestVector& request, int socket, const char* action);
