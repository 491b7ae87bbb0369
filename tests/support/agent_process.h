// Starts the process of the agent. Tests use agent_runner.h.
#pragma once

#include <sys/types.h>

#include "tests/support/agent_runner.h"

// Starts the agent with the socket as its descriptor 0. Throws when it could not be executed.
pid_t start_agent(int socket, const AgentOptions& options);
