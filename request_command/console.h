// The command's standard output and standard error, which can be the same terminal.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "request_command/options.h"
#include "request_command/waiting_line.h"

class Console {
  public:
    Console(int output, int errors);

    // Throws a Failure when the text cannot be written.
    void write_output(std::string_view text);

    // Writes a line to standard error, after a newline if the previous text had none. Ignores failures: there is
    // nowhere else to report them.
    void write_error(std::string_view text);

    // Writes the command's own text to standard error as one line that begins with "zmlogadm: ". Escapes control
    // characters, because the text can contain names and arguments.
    void write_remark(std::string_view text);

    // Writes the hint as a remark if standard error is a terminal and the hint is not empty.
    void write_hint(const std::string& hint);

    // Returns the line that shows how long the peer takes since `start`, or null when none is to be shown. Later writes
    // wipe the line first.
    WaitingLine* wait_for(std::string_view peer, Waiting waiting, WaitingLine::Time start);

  private:
    int output_;
    int errors_;
    bool has_reader_;
    bool is_in_error_line_ = false;
    std::unique_ptr<WaitingLine> waiting_line_;
};
