// What to do about a request that failed, where the cause is known on this side.
#pragma once

#include <string>

#include "request_command/failure.h"
#include "request_command/options.h"

// Who the agent took the command for.
struct Asker {
    bool is_root = false;
    bool is_on_agents_host = true;
    std::string address;  // where the agent's host sees the connection come from; empty on the agent's host
};

// Returns who asks over the connection.
Asker asker_of(int socket);

// Returns a line that says what to look at or do, with the line to add or the command to run; empty when the status
// has many causes.
std::string hint_about_status(int status, const Options& options, const Asker& asker);

// The same for a failure of the command's own.
std::string hint_about_failure(FailureCode code, const Options& options);
