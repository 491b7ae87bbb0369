// Prints an answer in one of two formats.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "request_command/answer_splitter.h"
#include "request_command/answer_tally.h"
#include "request_command/failure.h"

// Writes a text to one of the command's streams.
using WriteText = std::function<void(std::string_view)>;

// What the first JSON object of an answer shows about the request.
struct SentRequest {
    std::string host;       // as the user named it, else this host's name
    std::string_view peer;  // "local", "socket" or "tcp"
    std::vector<std::string> words;
    std::chrono::system_clock::time_point time;
};

// The end of an answer, and what the command found out about it.
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

    // Stores the request. Prints nothing, because there may be no answer.
    virtual void prepare(SentRequest request) = 0;

    // Marks that the connection was made: the next call prints the prepared request first.
    virtual void start() = 0;

    // Prints bytes of the answer as they arrive.
    virtual void print(std::string_view bytes) = 0;

    // Prints the answer's end.
    virtual void finish(const Outcome& outcome) = 0;

    // Prints a failure of the command itself in place of the answer's end.
    virtual void fail(FailureCode code, std::string_view message) = 0;
};

// Prints the answer byte for byte, and its status line to the other stream. Does not print failures.
std::unique_ptr<AnswerOutput> plain_output(WriteText write, WriteText write_status);

// Prints one JSON object a line, in ASCII, for the request, each line of the answer, the status line and a failure.
// zmlogadm(1), section JSON OUTPUT, describes the objects. Passes on what `write` throws and writes nothing afterwards,
// because a failed write may have left half a line.
std::unique_ptr<AnswerOutput> json_output(WriteText write);
