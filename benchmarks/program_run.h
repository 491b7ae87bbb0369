// One run of a program that serves a connection, measured from before its start to after its end.
#pragma once

#include <string>
#include <vector>

struct Program {
    std::vector<std::string> command;
    // The bytes that the peer sends; none for a program that needs no request.
    std::string request;
};

struct ProgramRun {
    double seconds = 0;
    int exit_status = 0;
    // How much the peer received, and the beginning of it.
    unsigned long received = 0;
    std::string answer;
};

// Starts the program with the connection as its descriptors 0, 1 and 2, sends the request, receives until the program
// closes the connection, and waits for its end. Throws when it cannot be started or a signal ended it.
[[nodiscard]] ProgramRun run_program(const Program& program);

// Returns the most memory, in KiB, that one run of the program alone has had in use, its children not included.
[[nodiscard]] long measure_peak_memory(const Program& program);

// Returns the bytes of a request.
[[nodiscard]] std::string encode_request(const std::vector<std::string>& words);
