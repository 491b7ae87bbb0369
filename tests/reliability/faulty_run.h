// Runs the agent, or another program, with a fault in one of its system calls.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/reliability/fault.h"
#include "tests/support/connected_sockets.h"

struct FaultyRun {
    // How many calls had the fault, and the number of the first one's system call.
    int faults = 0;
    long first_call = -1;
    // Whether the program's own code had begun, and not only the C library's start: its first call is umask.
    bool began = false;
    // All that the peer received.
    std::string received;
    int wait_status = 0;

    // The number of the status line; nothing unless the last line is a whole status line.
    [[nodiscard]] std::optional<int> status() const;
};

// Runs the agent on a connection whose peer has sent its request. Waits for the end of the agent and of all processes
// that it left. SIGALRM ends an agent that hangs.
[[nodiscard]] FaultyRun run_with_fault(ConnectedSockets connection, const Fault& fault);

// The same, but instead of a system call the allocation of that number fails, counted from 1; with `ever_after` every
// later one fails too. Sets `faults` to 1 if an allocation failed, and not `first_call`.
[[nodiscard]] FaultyRun run_with_failing_allocation(ConnectedSockets connection, int number, bool ever_after);

// The same for the program and the arguments of a command line. Its first call has to be umask. It has no peer, and its
// output is discarded.
[[nodiscard]] FaultyRun run_program_with_fault(const std::vector<std::string>& command_line, const Fault& fault);
