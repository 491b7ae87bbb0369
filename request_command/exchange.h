// Sends a request and receives its answer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "request_command/answer_splitter.h"
#include "request_command/waiting_line.h"

// Returns the request as it is sent: the number of its texts, then the texts.
std::string encode_request(const std::vector<std::string>& request);

// Sends the encoded request and prints the answer as it arrives. A peer can answer and close before it has received
// everything, so a failure to send does not stop the receiving. Shows the waiting line, if there is one, while nothing
// arrives. Returns at the end of the answer: 0, or the error number with which the connection failed.
int exchange(int socket, std::string_view request, AnswerSplitter& splitter, WaitingLine* waiting);
