// The command's standard streams.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Prints one line to standard output, with control characters escaped. finish_output reports a failure, so that a
// closed pipe does not stop the command half-way.
void print_line(std::string_view line);

// Prints a text without changing it.
void print_text(std::string_view text);

// Prints the command's name and one line to standard error, with control characters escaped.
void complain(std::string_view line);

// Throws a Failure when not all lines could be printed.
void finish_output();

// A file or folder that could not be read, now or at the save, and the error number.
struct Problem {
    enum class When { now, at_save };
    std::string path;
    int error = 0;
    When when = When::now;
};
using Problems = std::vector<Problem>;

// Adds the problem, unless there is one for the same path.
void add_problem(Problems& problems, const Problem& problem);

// Returns the message about the problem.
[[nodiscard]] std::string describe(const Problem& problem);

// Returns the text for an error number of a file.
[[nodiscard]] std::string reason_of(int error);

// Complains of each problem.
void complain_of(const Problems& problems);
