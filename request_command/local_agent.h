// The agent of this host, started by the command itself.
#pragma once

#include "request_command/connection.h"
#include "request_command/options.h"

// Starts the agent as the network service does: with the connection for its standard input, without arguments.
// The command's own descriptors 0 to 2 must be open. Throws a Failure when the agent cannot be started.
Connection start_agent(const AgentFile& file);
