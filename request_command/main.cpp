// zmlogadm: sends one request to a log administration agent and prints its answer.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "request_command/answer_output.h"
#include "request_command/failure.h"
#include "request_command/options.h"
#include "request_command/request.h"
#include "request_command/standard_streams.h"

namespace {

void write_output(std::string_view text) {
    if (!write_to_stream(STDOUT_FILENO, text)) {
        throw system_failure(errno, "cannot write to standard output", FailureCode::output_failed);
    }
}

// There is nobody left to tell when this fails.
void write_error(std::string_view text) {
    static_cast<void>(write_to_stream(STDERR_FILENO, text));
}

std::unique_ptr<AnswerOutput> choose_output(AnswerFormat format) {
    return format == AnswerFormat::json ? json_output(write_output) : plain_output(write_output, write_error);
}

// Returns the exit status.
int run(int argc, char** argv, AnswerOutput& output) {
    const Options options = parse_options(argc, argv);
    switch (options.action) {
        case Action::show_help:
            write_output(help_text);
            return 0;
        case Action::show_version:
            write_output("zmlogadm " ZMLOGADM_VERSION "\n");
            return 0;
        case Action::send_request:
            break;
    }
    return carry_out(options, output, write_error);
}

// Standard error is told also what the output cannot be told any more.
int fail(FailureCode code, const char* reason, AnswerOutput& output) {
    try {
        output.fail(code, reason);
    } catch (const std::exception&) {
        // The reason is about the same output, or matters more than this.
    }
    write_error(std::string("zmlogadm: ") + reason + "\n");
    return own_failure;
}

}  // namespace

int main(int argc, char** argv) {
    static char name[] = "zmlogadm";
    argv[0] = name;            // also in what getopt_long says, however the command was called
    signal(SIGPIPE, SIG_IGN);  // output that nobody reads is told as the failure of a write
    signal(SIGCHLD, SIG_DFL);  // a caller that ignores its children must not make the command lose its own
    const std::unique_ptr<AnswerOutput> output = choose_output(answer_format(argc, argv));
    try {
        occupy_standard_descriptors();
        return run(argc, argv, *output);
    } catch (const Failure& failure) {
        return fail(failure.code(), failure.what(), *output);
    } catch (const std::exception& failure) {
        return fail(FailureCode::system_failed, failure.what(), *output);
    }
}
