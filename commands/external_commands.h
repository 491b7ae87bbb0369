// Classifies command words, and runs support tools with the peer's socket as their standard streams.
#pragma once

#include <string>

#include "agent/request_vector.h"

// Returns 0 for a valid command word, or status::command_not_valid. Sets `is_external` to whether the word names a
// tool.
int is_cmd_valid(std::string word, bool& is_external);

// Returns the absolute path of the tool for a command word or tool name, or an empty text if there is none.
std::string getcommandpath(std::string name);

// Runs the tool of the command word, element 0, with the other elements as arguments and the socket as standard input,
// output and error. Waits for the tool, then checks the peer. The socket is blocking while the tool runs and
// non-blocking afterwards.
// Returns the tool's exit code (29 if it could not be executed) or status::tool_killed. The agent's own failures
// replace them: status::fork_failed, status::wait_failed, status::socket_not_nonblocking, status::peer_closed,
// status::output_not_sent.
int execute_cmd_send_output(const RequestVector& request, int socket);
