// Command words, the tools behind them, and running a tool with the peer's socket as its standard streams.
#pragma once

#include <string>

#include "agent/request_vector.h"

// Classifies a command word. Returns 0 for an acceptable word, with `is_external` telling whether it names a
// tool that runs as it is; otherwise status::command_not_valid.
int is_cmd_valid(std::string word, bool& is_external);

// Returns the absolute path of the tool behind a command word or tool name; empty when there is none.
std::string getcommandpath(std::string name);

// Runs the tool that element 0 of the request maps to, with the elements behind it as arguments and the socket
// as standard input, output and error, waits for it and probes the peer. The socket is blocking while the tool runs,
// whatever it was before, and stays non-blocking then.
// Returns the tool's exit code (29 when the tool could not be executed), status::tool_killed, or what kept the
// agent from telling: status::fork_failed, status::wait_failed, status::socket_not_nonblocking,
// status::peer_closed, status::output_not_sent.
int execute_cmd_send_output(const RequestVector& request, int socket);
