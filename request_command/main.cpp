// zmlogadm: sends one request to a log administration agent and prints its answer.
#include <unistd.h>

#include <csignal>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/standard_streams.h"
#include "request_command/answer_output.h"
#include "request_command/console.h"
#include "request_command/failure.h"
#include "request_command/hints.h"
#include "request_command/options.h"
#include "request_command/request.h"

namespace {

std::unique_ptr<AnswerOutput> choose_output(AnswerFormat format, Console& console) {
    const auto write_output = [&console](std::string_view text) { console.write_output(text); };
    const auto write_error = [&console](std::string_view text) { console.write_error(text); };
    return format == AnswerFormat::json ? json_output(write_output) : plain_output(write_output, write_error);
}

// Returns the exit status.
int run(const Options& options, AnswerOutput& output, Console& console) {
    switch (options.action) {
        case Action::show_help:
            console.write_output(help_text());
            return 0;
        case Action::show_version:
            console.write_output("zmlogadm " ZMLOGADM_VERSION "\n");
            return 0;
        case Action::send_request:
            break;
    }
    return carry_out(options, output, console);
}

// Prints the reason to standard error too, because standard output may be what failed.
int fail(const Failure& failure, const std::optional<Options>& options, AnswerOutput& output, Console& console) {
    try {
        output.fail(failure.code(), failure.what());
    } catch (const std::exception&) {
        // The first failure is reported below and matters more.
    }
    console.write_remark(failure.what());
    if (options) {
        console.write_hint(hint_about_failure(failure.cause(), *options));
    }
    return own_failure;
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);  // a write that nobody reads fails and is reported
    signal(SIGCHLD, SIG_DFL);  // if the caller ignored it, the agent could not be waited for
    Console console(STDOUT_FILENO, STDERR_FILENO);
    const CommandLine line = read_options(argc, argv);
    const std::unique_ptr<AnswerOutput> output = choose_output(answer_format(line), console);
    std::optional<Options> options;
    try {
        occupy_standard_descriptors();
        options = check_options(line);
        return run(*options, *output, console);
    } catch (const Failure& failure) {
        return fail(failure, options, *output, console);
    } catch (const std::exception& failure) {
        return fail(Failure(failure.what()), options, *output, console);
    }
}
