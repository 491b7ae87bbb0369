// Faults of system calls: what goes wrong, and at which call.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <iosfwd>
#include <string>

// A fault counts only the calls that it can happen to, of the program and of its children until they become a tool.
struct Fault {
    enum class Kind {
        none,
        error,           // the call is not carried out and fails
        short_transfer,  // reading, writing, receiving or sending moves about half of the bytes
        kill,            // the program is killed before the call
    };
    Kind kind = Kind::none;
    int error = 0;
    // Whether every later call has the fault too.
    bool ever_after = false;
    // The number of the first call with the fault, counted from 1.
    int number = 0;
};

// A fault for tables. The number is set for each run.
struct FaultPlan {
    // A name in CamelCase.
    std::string name;
    Fault fault;
};

std::ostream& operator<<(std::ostream& out, const FaultPlan& plan);

// Returns a fault that fails one call with the error, or all calls from that one on.
[[nodiscard]] Fault fail_once(int error);
[[nodiscard]] Fault fail_ever_after(int error);

// Returns whether the fault can happen to this call of a stopped process.
[[nodiscard]] bool can_happen(const Fault& fault, pid_t process, long call, const std::uint64_t* arguments);

// Reads a word of the memory of a stopped process.
[[nodiscard]] unsigned long word_at(pid_t process, std::uint64_t address);

// Returns the name of a system call, or its number if the table has no name for it.
[[nodiscard]] std::string name_of_call(long number);
