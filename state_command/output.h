// The command's standard streams.
#pragma once

#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

// Returns the text with every control character written as \n, \r, \t or \xHH.
[[nodiscard]] std::string escape(std::string_view text);

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

// The error number of a file to which only a link leads that others can have put there. Linux uses it for nothing that
// reads a file.
inline constexpr int error_of_untrusted_link = EMLINK;

// Notes the problem, once for each path.
void add_problem(Problems& problems, const Problem& problem);

// Returns what is to be said of it.
[[nodiscard]] std::string describe(const Problem& problem);

// Complains of each.
void complain_of(const Problems& problems);
