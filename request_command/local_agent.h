// Starts the agent of this host.
#pragma once

#include "request_command/connection.h"
#include "request_command/options.h"

// Starts the agent as the network service does: with the connection as its standard input, no arguments, a session of
// its own, the root folder as its working directory, default signal handling, a service's limits, and only a usual PATH
// in its environment. It inherits umask, niceness, user and groups. The caller's descriptors 0 to 2 must be open.
// Throws a Failure when the agent cannot be started.
Connection start_agent(const AgentFile& file);
