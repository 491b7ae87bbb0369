// Connects to an agent.
#pragma once

#include <chrono>

#include "platform/child.h"
#include "platform/idle_task.h"
#include "platform/posix.h"
#include "request_command/options.h"

// A connection to an agent, and the agent's process if the command started it.
struct Connection {
    Child agent;
    Descriptor socket;  // declared after `agent`, so that it is closed before the wait for the agent
};

// Connects to the peer within the time-out. Throws a Failure that gives the reason when it cannot. The task, which can
// be null, runs during the wait.
Connection connect_to(const Peer& peer, std::chrono::seconds timeout, IdleTask* task);
