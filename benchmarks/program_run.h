// One run of a program that serves a connection, measured from before its start to after its end.
#pragma once

#include <string>
#include <vector>

#include "tests/support/connected_sockets.h"

// How the peer is connected. Over TCP from a reserved port of this host, so that it counts as root.
enum class Transport { local, tcp };

// How the peer receives. A slow one takes 16 KiB every two milliseconds.
enum class Reader { eager, slow };

struct Program {
    std::vector<std::string> command;
    // The bytes that the peer sends; none for a program that needs no request.
    std::string request;
    Transport transport = Transport::local;
    Reader reader = Reader::eager;
};

struct ProgramRun {
    double seconds = 0;
    int exit_status = 0;
    // How much the peer received, and the beginning of it.
    unsigned long received = 0;
    std::string answer;
};

// Starts the program with the connection as its descriptors 0, 1 and 2, sends the request, receives until the program
// closes the connection, and waits for its end. The connection is made before the measuring begins. Throws when the
// program cannot be started or a signal ended it.
[[nodiscard]] ProgramRun run_program(const Program& program);

// The parts of a run, for other ways to run a program.
[[nodiscard]] ConnectedSockets connect_peer(const Program& program);
[[nodiscard]] std::vector<char*> argument_vector(const Program& program);
void receive_answer(int peer, Reader reader, ProgramRun& run);
// Throws std::system_error with errno unless the call succeeded.
void check(bool done, const char* what);

// Returns the bytes of a request.
[[nodiscard]] std::string encode_request(const std::vector<std::string>& words);
