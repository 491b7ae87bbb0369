// The response lines of the category handlers.
#pragma once

#include <string>
#include <vector>

using Responses = std::vector<std::string>;

// Appends a line to the responses, and logs it.
void respond(int level, const char* tag, const std::string& line, Responses& responses);
