// The printing of an answer, in one of two formats.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "request_command/answer_printer.h"
#include "request_command/answer_tally.h"
#include "request_command/failure.h"

// Writes a text to a stream of the command's.
using WriteText = std::function<void(std::string_view)>;

// A request, as the beginning of its answer shows it.
struct SentRequest {
    std::string host;       // as it was named, or this host's name
    std::string_view peer;  // "local", "socket" or "tcp"
    std::vector<std::string> words;
    std::chrono::system_clock::time_point time;
};

// The end of an answer, and what the command adds to it.
struct Outcome {
    StatusLine line;
    AnswerCount count;
    std::chrono::milliseconds elapsed{0};  // since the request's time
};

// Prints the answer to one request.
class AnswerOutput {
  public:
    AnswerOutput() = default;
    AnswerOutput(const AnswerOutput&) = delete;
    AnswerOutput& operator=(const AnswerOutput&) = delete;
    virtual ~AnswerOutput() = default;

    // Takes what is going to be asked. Prints nothing: there may be no answer.
    virtual void prepare(SentRequest request) = 0;

    // Takes that an answer to the request that was prepared is going to come, or to be missed.
    virtual void start() = 0;

    // Prints bytes of the answer as they come.
    virtual void print(std::string_view bytes) = 0;

    // Prints the answer's end.
    virtual void finish(const Outcome& outcome) = 0;

    // Prints the failure that ends the command itself, where the answer's end should have been.
    virtual void fail(FailureCode code, std::string_view message) = 0;
};

// The answer byte for byte, its status line to the other stream. Failures are not printed.
std::unique_ptr<AnswerOutput> plain_output(WriteText write, WriteText write_status);

// One JSON object a line, and all in ASCII, for the request, every line of the answer, its status line and a failure.
// The objects are those of the page zmlogadm(1), section JSON OUTPUT. What `write` throws is passed on, and nothing is
// written afterwards: a failed write may have left half a line.
std::unique_ptr<AnswerOutput> json_output(WriteText write);
