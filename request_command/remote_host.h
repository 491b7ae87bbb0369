// Connects to an agent over TCP.
#pragma once

#include <chrono>

#include "platform/idle_task.h"
#include "platform/posix.h"
#include "request_command/options.h"

// Looks up the host and connects to it. Tries its addresses in turn and gives each an equal share of the remaining
// time. Root connects from a port below 1024, which proves to the peer that it is root. Throws a Failure that gives the
// error of each address, or that reports that the look-up took longer than the time-out. The task, which can be null,
// runs during the wait.
Descriptor connect_to_host(const RemoteHost& host, std::chrono::seconds timeout, IdleTask* task);
