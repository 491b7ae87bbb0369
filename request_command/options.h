// The command line.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "request_command/failure.h"

// The agent's file on this host, to be started by the command.
struct AgentFile {
    std::string path = "/usr/kumel/zembrath/bin/zmlogadmagent";
};

// A host whose network service starts its agent.
struct RemoteHost {
    std::string name;
    std::uint16_t port = 24761;
};

// A Unix-domain socket behind which an agent is started.
struct LocalSocket {
    std::string path;
};

// Whom to ask.
using Peer = std::variant<AgentFile, RemoteHost, LocalSocket>;

enum class Action { send_request, show_help, show_version };

// How to print the answer.
enum class AnswerFormat { plain, json };

// Which answers are a success.
enum class Verdict {
    of_request,  // the request's status decides
    strict,      // and nothing of the request failed or was left unanswered
};

// Whether people are told that the answer takes long.
enum class Waiting { shown, silent };

struct Options {
    Action action = Action::send_request;
    Peer peer;
    std::chrono::seconds timeout{30};  // for connecting
    AnswerFormat format = AnswerFormat::plain;
    Verdict verdict = Verdict::of_request;
    Waiting waiting = Waiting::shown;
    std::vector<std::string> request;  // the word and its arguments
};

// A command line that cannot be followed.
class Refusal : public Failure {
  public:
    explicit Refusal(const std::string& reason, FailureCode code = FailureCode::invalid_arguments)
        : Failure(code, reason + " (zmlogadm --help tells more)") {}
};

// Returns the format that the command line asks for, also when it cannot be followed otherwise: a refusal is then told
// in that format too. Says nothing.
AnswerFormat answer_format(int argc, char** argv);

// Reads the command line. Throws a Refusal, before anything is connected or sent, for options that are unknown,
// out of range or contradict each other, for a missing word, for a word or argument that no agent takes, and for an
// option of the command's own where it would be sent as a category or directory.
// What getopt_long itself finds wrong it has told on standard error.
Options parse_options(int argc, char** argv);

// What --help prints.
extern const std::string_view help_text;
