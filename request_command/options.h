// The command line.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "platform/command_line.h"
#include "request_command/failure.h"

// An agent on this host that the command starts itself.
struct AgentFile {
    std::string path = "/usr/kumel/zembrath/bin/zmlogadmagent";
};

// A host whose network service starts its agent.
struct RemoteHost {
    std::string name;
    std::uint16_t port = 24761;
};

// A Unix-domain socket whose service starts an agent.
struct LocalSocket {
    std::string path;  // fits into the address of a socket
};

// The agent to ask.
using Peer = std::variant<AgentFile, RemoteHost, LocalSocket>;

enum class Action { send_request, show_help, show_version };

// How to print the answer.
enum class AnswerFormat { plain, json };

// Which answers count as a success.
enum class Verdict {
    of_request,  // the request's status decides
    strict,      // the same, and nothing may have failed or be unanswered
};

// Whether a terminal shows that the peer takes long.
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

// A command line that is not valid.
class Refusal : public Failure {
  public:
    explicit Refusal(const std::string& reason, FailureCode code = FailureCode::invalid_arguments)
        : Failure(code, reason + " (see zmlogadm --help)") {}
};

CommandLine read_options(int argc, char** argv);

// Returns the format that the command line asks for, also when the command line is not valid, so that a refusal is
// printed in that format too.
AnswerFormat answer_format(const CommandLine& line);

// Checks the command line. Throws a Refusal for options that are unknown, empty, out of range or contradict each other,
// for a missing word, for a word or argument that is too long, and for an option of the command that would be sent as a
// category or directory.
Options check_options(const CommandLine& line);

// Returns what --help prints.
std::string help_text();
