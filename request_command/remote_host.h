// The connection to an agent over TCP.
#pragma once

#include <chrono>

#include "platform/posix.h"
#include "request_command/options.h"

// Looks up the host and connects to it. Each of its addresses is tried in turn, in an equal share of the time that is
// left. Root connects from a port below 1024, by which the peer knows root. Throws a Failure that says what became of
// each address, or that the look-up took longer than the time-out.
Descriptor connect_to_host(const RemoteHost& host, std::chrono::seconds timeout);
