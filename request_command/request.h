// Carries out one request, from the connection to the exit status.
#pragma once

#include "request_command/answer_output.h"
#include "request_command/console.h"
#include "request_command/options.h"

// Sends the request and prints the answer, followed by a hint and by what failed. Returns the exit status. Throws a
// Failure when the request has no status.
int carry_out(const Options& options, AnswerOutput& output, Console& console);
