#include "state_command/output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/library/trusted_folder.h"
#include "platform/standard_streams.h"
#include "platform/text_encoding.h"
#include "state_command/failure.h"

namespace {

// The error number of the first line that could not be printed.
int output_error = 0;

}  // namespace

void print_text(std::string_view text) {
    if (output_error == 0 && !write_to_stream(STDOUT_FILENO, text)) {
        output_error = errno;
    }
}

void print_line(std::string_view line) {
    print_text(escape_controls(line) + "\n");
}

void complain(std::string_view line) {
    static_cast<void>(write_to_stream(STDERR_FILENO, "zmlogstate: " + escape_controls(line) + "\n"));
}

void finish_output() {
    if (output_error != 0) {
        throw system_failure(output_error, "cannot write to standard output");
    }
}

void add_problem(Problems& problems, const Problem& problem) {
    const auto is_known = [&](const Problem& known) { return known.path == problem.path; };
    if (std::none_of(problems.begin(), problems.end(), is_known)) {
        problems.push_back(problem);
    }
}

std::string reason_of(int error) {
    switch (error) {
        case EINVAL:  // a device, a FIFO or a socket
            return "not a file";
        case platform_library::untrusted_link:
            return "reached only through a link that other users can change";
        default:
            return strerror(error);
    }
}

std::string describe(const Problem& problem) {
    const std::string reason = ": " + reason_of(problem.error);
    return problem.when == Problem::When::now ? "cannot read " + problem.path + reason
                                              : problem.path + " was not saved" + reason;
}

void complain_of(const Problems& problems) {
    for (const Problem& problem : problems) {
        complain(describe(problem));
    }
}
