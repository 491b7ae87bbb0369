// The agent of this host, started by the command itself.
#pragma once

#include "request_command/connection.h"
#include "request_command/options.h"

// Starts the agent as the network service does: with the connection for its standard input, without arguments, in a
// session of its own, in the root folder, with the usual effects of signals, a service's limits, and nothing but a
// usual PATH in its environment. Its umask, niceness, user and groups are the command's. The command's own descriptors
// 0 to 2 must be open. Throws a Failure when the agent cannot be started.
Connection start_agent(const AgentFile& file);
