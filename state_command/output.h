// The command's standard streams.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Prints one line to standard output, control characters escaped. A failure is reported by finish_output, so that
// nothing stops half-way because nobody reads.
void print_line(std::string_view line);

// Prints a text as it stands.
void print_text(std::string_view text);

// Prints one line to standard error after the command's name, control characters escaped.
void complain(std::string_view line);

// Throws a Failure when not all lines could be printed.
void finish_output();

// A file or folder that could not be read, now or when it was to be saved, and the error number.
struct Problem {
    enum class When { now, at_save };
    std::string path;
    int error = 0;
    When when = When::now;
};
using Problems = std::vector<Problem>;

// Notes the problem, once for each path.
void add_problem(Problems& problems, const Problem& problem);

// Returns the message about the problem.
[[nodiscard]] std::string describe(const Problem& problem);

// Returns the text for an error number of a file.
[[nodiscard]] std::string reason_of(int error);

// Complains of each.
void complain_of(const Problems& problems);
