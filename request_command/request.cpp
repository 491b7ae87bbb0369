#include "request_command/request.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "request_command/answer_splitter.h"
#include "request_command/answer_tally.h"
#include "request_command/child.h"
#include "request_command/connection.h"
#include "request_command/exchange.h"
#include "request_command/failure.h"
#include "request_command/hints.h"
#include "request_command/spelling.h"

namespace {

std::string own_host() {
    std::array<char, 256> name = {};
    gethostname(name.data(), name.size() - 1);
    return name.data();
}

SentRequest describe_request(const Options& options) {
    const auto* host = std::get_if<RemoteHost>(&options.peer);
    const bool is_socket = std::holds_alternative<LocalSocket>(options.peer);
    return {.host = host != nullptr ? host->name : own_host(),
            .peer = host != nullptr ? "tcp" : (is_socket ? "socket" : "local"),
            .words = options.request,
            .time = std::chrono::system_clock::now()};
}

// Reports words and categories that look misspelt. The request is sent anyway, because an agent may know more
// words than the command.
void remark_on_spelling(const std::vector<std::string>& request, Console& console) {
    for (const std::string& remark : spelling_remarks(request)) {
        console.write_remark(remark);
    }
}

// Returns the known reasons for a missing status line. Waits for the agent if the command started it.
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

// What failed comes last, because it matters most.
void add_remarks(const Outcome& outcome, const Options& options, const Asker& asker, Console& console) {
    console.write_hint(hint_about_status(outcome.line.status, options, asker));
    const std::string what_failed = describe(outcome.count);
    if (!what_failed.empty()) {
        console.write_remark(what_failed);
    }
}

int exit_status_of(const Outcome& outcome, Verdict verdict) {
    const int status = outcome.line.status;
    if (status == 0 && verdict == Verdict::strict && (outcome.count.failed != 0 || outcome.count.not_answered != 0)) {
        return strict_failure;
    }
    return status >= 0 && status < own_failure ? status : other_status;
}

// When a signal ended the agent, a status line cannot be its own: a tool printed it. The agent's exit status is not
// compared with the status line, because it has only the lowest eight bits, and --agent can name a script.
void refuse_end_by_signal(Connection& connection, const StatusLine& line) {
    if (!connection.agent.valid()) {
        return;
    }
    connection.socket.reset();
    const int wait_status = connection.agent.wait();
    if (WIFSIGNALED(wait_status)) {
        throw Failure(FailureCode::agent_killed, "the status " + std::to_string(line.status) +
                                                     " is not trusted: the agent " + describe_end(wait_status));
    }
}

// Returns the name of the peer for people.
std::string_view name_of_peer(const Peer& peer) {
    if (const auto* host = std::get_if<RemoteHost>(&peer)) {
        return host->name;
    }
    const auto* socket = std::get_if<LocalSocket>(&peer);
    return socket != nullptr ? std::string_view(socket->path) : "the agent of this host";
}

// Prints the answer as it arrives. Returns its end.
Outcome receive_answer(Connection& connection, const std::vector<std::string>& request, AnswerOutput& output,
                       WaitingLine* waiting) {
    AnswerTally tally(request);
    AnswerSplitter splitter([&](std::string_view bytes) {
        tally.add(bytes);
        output.print(bytes);
    });
    const int error = exchange(connection.socket.get(), encode_request(request), splitter, waiting);
    std::optional<StatusLine> line = splitter.finish(error == 0 ? AnswerEnd::complete : AnswerEnd::broken);
    if (!line) {
        throw Failure(FailureCode::no_status, explain_missing_status(connection, error));
    }
    refuse_end_by_signal(connection, *line);
    const int status = line->status;
    return {.line = std::move(*line), .count = tally.finish(status)};
}

}  // namespace

int carry_out(const Options& options, AnswerOutput& output, Console& console) {
    remark_on_spelling(options.request, console);
    const auto start = std::chrono::steady_clock::now();
    output.prepare(describe_request(options));
    WaitingLine* const waiting = console.wait_for(name_of_peer(options.peer), options.waiting, start);
    Connection connection = connect_to(options.peer, options.timeout, waiting);
    const Asker asker = asker_of(connection.socket.get());
    output.start();
    Outcome outcome = receive_answer(connection, options.request, output, waiting);
    outcome.elapsed = std::chrono::floor<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    output.finish(outcome);
    add_remarks(outcome, options, asker, console);
    return exit_status_of(outcome, options.verdict);
}
