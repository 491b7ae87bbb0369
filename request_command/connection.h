// The ways to an agent.
#pragma once

#include <chrono>

#include "platform/child.h"
#include "platform/posix.h"
#include "request_command/options.h"

// A connection to an agent, and the agent's process where the command has started it.
struct Connection {
    Child agent;
    Descriptor socket;  // behind the agent, so that it is closed before the agent is waited for
};

// Connects to the peer. Throws a Failure that says why that could not be done, or not within the time-out.
Connection connect_to(const Peer& peer, std::chrono::seconds timeout);
