// Runs the agent with system calls that fail, or kills it at one of them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/support/connected_sockets.h"

// What goes wrong, and at which of the system calls that it can happen to: those of the agent's program, and those of
// its children until they become a tool.
struct Fault {
    enum class Kind {
        none,
        error,           // the call is not carried out and fails
        short_transfer,  // reading, writing, receiving or sending moves about half of the bytes
        kill,            // the agent is killed before the call
    };
    Kind kind = Kind::none;
    int error = 0;
    // Whether every later call has the fault too.
    bool ever_after = false;
    // Counted from 1.
    int number = 0;
};

struct FaultyRun {
    // How many calls had the fault, and the number of the first one's system call.
    int faults = 0;
    long first_call = -1;
    // Whether the start of the C library was over: the first thing that the agent itself does is to set its umask.
    bool began = false;
    // All that the peer received up to the end of the connection.
    std::string received;
    int wait_status = 0;

    // The number of the last line when that is a whole status line.
    [[nodiscard]] std::optional<int> status() const;
};

// Runs the agent on a connection whose peer has sent its request, and waits for its end and that of all processes that
// it left. An agent that takes too long ends by SIGALRM.
[[nodiscard]] FaultyRun run_with_fault(ConnectedSockets connection, const Fault& fault);

// The same for an agent whose allocation of that number, counted from 1, fails, and with `ever_after` every later one
// too. That a fault took place is told by `faults` alone, as 1.
[[nodiscard]] FaultyRun run_with_failing_allocation(ConnectedSockets connection, int number, bool ever_after);

// The same for another program that calls umask first of all: its file and its arguments. It has no peer, and what it
// prints is lost.
[[nodiscard]] FaultyRun run_program_with_fault(const std::vector<std::string>& command_line, const Fault& fault);

// The name of a system call, or its number where that has none here.
[[nodiscard]] std::string name_of_call(long number);
