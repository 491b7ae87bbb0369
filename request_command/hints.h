// Suggests what to do about a failed request, if this command knows the cause.
#pragma once

#include <string>

#include "request_command/failure.h"
#include "request_command/options.h"

// The peer as the agent sees it.
struct Asker {
    bool is_root = false;
    bool is_on_agents_host = true;
    std::string address;  // from which the connection reaches the agent's host; empty for a Unix-domain socket
};

// Returns the command's own side of the connection.
Asker asker_of(int socket);

// Returns one line that says what to look at or do, with the line to add or the command to run. Empty when the status
// has many causes.
std::string hint_about_status(int status, const Options& options, const Asker& asker);

// The same for a failure of the command itself.
std::string hint_about_failure(FailureCode code, const Options& options);
