// zmlogadm: sends one request to a log administration agent and prints its answer.
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "request_command/answer_output.h"
#include "request_command/answer_printer.h"
#include "request_command/connection.h"
#include "request_command/exchange.h"
#include "request_command/failure.h"
#include "request_command/options.h"
#include "request_command/spelling.h"
#include "request_command/standard_streams.h"

namespace {

// Stands for a status that cannot be the exit status, or would look like a failure of the command's own.
constexpr int other_status = 252;

void write_output(std::string_view text) {
    if (!write_to_stream(STDOUT_FILENO, text)) {
        throw system_failure(errno, "cannot write to standard output", FailureCode::output_failed);
    }
}

// There is nobody left to tell when this fails.
void write_error(std::string_view text) {
    static_cast<void>(write_to_stream(STDERR_FILENO, text));
}

// Says why an answer has no status line, as far as that is known. Waits for an agent that the command has started.
std::string explain_missing_status(Connection& connection, int error) {
    std::string reason = "the answer has no status line";
    if (error != 0) {
        reason += std::string(": ") + strerror(error);
    }
    if (connection.agent.valid()) {
        connection.socket.reset();
        reason += "; the agent " + describe_end(connection.agent.wait());
    }
    return reason;
}

std::unique_ptr<AnswerOutput> choose_output(AnswerFormat format) {
    return format == AnswerFormat::json ? json_output(write_output) : plain_output(write_output, write_error);
}

// Says what of the request looks misspelt. It is sent all the same: an agent may know more words than the command.
void remark_on_spelling(const std::vector<std::string>& request) {
    for (const std::string& remark : spelling_remarks(request)) {
        write_error("zmlogadm: " + remark + "\n");
    }
}

// Returns the exit status.
int send_request(const Options& options, AnswerOutput& output) {
    remark_on_spelling(options.request);
    Connection connection = connect_to(options.peer, options.timeout);
    output.start(options.request);
    AnswerPrinter printer([&](std::string_view bytes) { output.print(bytes); });
    const int error = exchange(connection.socket.get(), encode_request(options.request), printer);
    const std::optional<StatusLine> line = printer.finish(error == 0 ? AnswerEnd::complete : AnswerEnd::broken);
    if (!line) {
        throw Failure(FailureCode::no_status, explain_missing_status(connection, error));
    }
    output.finish(*line);
    return line->status >= 0 && line->status < own_failure ? line->status : other_status;
}

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
    return send_request(options, output);
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
