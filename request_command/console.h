// The command's standard output and error, which may both be one terminal.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "request_command/options.h"
#include "request_command/waiting_line.h"

class Console {
  public:
    Console(int output, int errors);

    // Throws a Failure when that cannot be done.
    void write_output(std::string_view text);

    // Writes a line, and first ends the one before when it was left without an end. There is nobody left to tell when
    // this fails.
    void write_error(std::string_view text);

    // Writes a line to standard error for people to read; nothing for a program, and nothing when the hint is empty.
    void write_hint(const std::string& hint);

    // Returns the line that shows how long the answer of the peer takes, or nothing when nobody is to see one. It is
    // wiped before anything is written.
    WaitingLine* wait_for(std::string_view peer, Waiting waiting, WaitingLine::Time start);

  private:
    int output_;
    int errors_;
    bool has_reader_;
    bool is_in_error_line_ = false;
    std::unique_ptr<WaitingLine> waiting_line_;
};
