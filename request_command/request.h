// One request, from the connection to what the exit status says of it.
#pragma once

#include "request_command/answer_output.h"
#include "request_command/console.h"
#include "request_command/options.h"

// Sends the request and prints the answer, and what people are to know beside it. Returns the exit status; throws a
// Failure when there is no status to end with.
int carry_out(const Options& options, AnswerOutput& output, Console& console);
