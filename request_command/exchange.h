// The request's way out and the answer's way in.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "request_command/answer_printer.h"
#include "request_command/waiting_line.h"

// Returns the request as it goes over the connection: the number of its texts, then the texts.
std::string encode_request(const std::vector<std::string>& request);

// Sends the encoded request and at the same time prints the answer as it comes: a peer may answer, and close, before
// it has received everything. That the request could not be sent in full is therefore no end yet: what the peer
// says about it is. Shows the waiting line, if there is one, while nothing comes. Returns at the answer's end, with 0
// or the error number with which the connection failed.
int exchange(int socket, std::string_view request, AnswerPrinter& printer, WaitingLine* waiting);
