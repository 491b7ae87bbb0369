// What goes wrong in a program, and at which of its system calls.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

// A fault of the system calls that it can happen to: those of the program, and those of its children until they become
// a tool.
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

// Returns whether the fault can happen to this call of a stopped process.
[[nodiscard]] bool can_happen(const Fault& fault, pid_t process, long call, const std::uint64_t* arguments);

// Reads a word of the memory of a stopped process.
[[nodiscard]] unsigned long word_at(pid_t process, std::uint64_t address);

// Returns the name of a system call, or its number if the table has no name for it.
[[nodiscard]] std::string name_of_call(long number);
