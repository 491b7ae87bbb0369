#include "state_command/output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/hexadecimal.h"
#include "platform/standard_streams.h"
#include "state_command/failure.h"

namespace {

// The error number of the first line that could not be printed.
int output_error = 0;

std::string escape_byte(char byte) {
    switch (byte) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return "\\x" + to_hexadecimal({&byte, 1});
    }
}

std::string reason_of(int error) {
    switch (error) {
        case EINVAL:  // a device, a FIFO or a socket
            return "not a file";
        case error_of_untrusted_link:
            return "only a link that others can have put leads there";
        default:
            return strerror(error);
    }
}

}  // namespace

std::string escape(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 32 || value == 127) {
            escaped += escape_byte(byte);
        } else {
            escaped += byte;
        }
    }
    return escaped;
}

void print_text(std::string_view text) {
    if (output_error == 0 && !write_to_stream(STDOUT_FILENO, text)) {
        output_error = errno;
    }
}

void print_line(std::string_view line) {
    print_text(escape(line) + "\n");
}

void complain(std::string_view line) {
    static_cast<void>(write_to_stream(STDERR_FILENO, "zmlogstate: " + escape(line) + "\n"));
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
