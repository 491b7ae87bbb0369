// Starting the agent's process; see agent_runner.h for using it.
#pragma once

#include <sys/types.h>

#include "tests/support/agent_runner.h"

// Starts the agent with the descriptor as its descriptor 0. Throws when it could not be executed.
pid_t start_agent(int socket, const AgentOptions& options);
