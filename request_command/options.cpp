#include "request_command/options.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <optional>
#include <utility>

namespace {

// The longest word or argument that an agent receives.
constexpr std::size_t longest_text = 2047;

// These have no letters.
constexpr int agent_option = 256;
constexpr int json_option = 257;

// "+": what follows the word belongs to the request, also when it begins with "-".
constexpr const char* letters = "+H:p:S:lt:hV";

constexpr std::array long_options = {
    option{"host", required_argument, nullptr, 'H'},
    option{"port", required_argument, nullptr, 'p'},
    option{"socket", required_argument, nullptr, 'S'},
    option{"local", no_argument, nullptr, 'l'},
    option{"agent", required_argument, nullptr, agent_option},
    option{"timeout", required_argument, nullptr, 't'},
    option{"json", no_argument, nullptr, json_option},
    option{"help", no_argument, nullptr, 'h'},
    option{"version", no_argument, nullptr, 'V'},
    option{nullptr, 0, nullptr, 0},
};

// What the command line says about the peer, before it is known to make sense.
struct PeerOptions {
    std::optional<std::string> host;
    std::optional<std::uint16_t> port;
    std::optional<std::string> socket;
    bool local = false;
    std::optional<std::string> agent;
};

int parse_number(const char* text, int most, const std::string& what) {
    int number = 0;
    const char* const end = text + strlen(text);
    const auto [rest, error] = std::from_chars(text, end, number);
    if (error != std::errc() || rest != end || number < 1 || number > most) {
        throw Refusal("the " + what + " is a number from 1 to " + std::to_string(most) + ", not \"" + text + "\"");
    }
    return number;
}

void refuse_contradictions(const PeerOptions& given) {
    if (given.socket && (given.host || given.local)) {
        throw Refusal("--socket cannot be used together with --host or --local");
    }
    if (given.host && given.local) {
        throw Refusal("--host cannot be used together with --local");
    }
    if (given.port && !given.host) {
        throw Refusal("--port needs --host");
    }
    if (given.agent && (given.host || given.socket)) {
        throw Refusal("--agent cannot be used together with --host or --socket");
    }
}

Peer choose_peer(const PeerOptions& given) {
    refuse_contradictions(given);
    if (given.host) {
        RemoteHost host{.name = *given.host};
        host.port = given.port.value_or(host.port);
        return host;
    }
    if (given.socket) {
        return LocalSocket{.path = *given.socket};
    }
    AgentFile agent;
    agent.path = given.agent.value_or(agent.path);
    return agent;
}

std::vector<std::string> check_request(std::vector<std::string> request) {
    if (request.empty()) {
        throw Refusal("a request word is missing");
    }
    for (std::size_t i = 0; i != request.size(); ++i) {
        if (request[i].size() > longest_text) {
            throw Refusal((i == 0 ? std::string("the word") : "argument " + std::to_string(i)) + " has " +
                          std::to_string(request[i].size()) + " bytes, and an agent takes " +
                          std::to_string(longest_text) + " at most");
        }
    }
    return request;
}

int next_option(int argc, char** argv) {
    return getopt_long(argc, argv, letters, long_options.data(), nullptr);
}

}  // namespace

AnswerFormat answer_format(int argc, char** argv) {
    AnswerFormat format = AnswerFormat::plain;
    const int said = std::exchange(opterr, 0);
    for (int letter = 0; (letter = next_option(argc, argv)) != -1;) {
        format = letter == json_option ? AnswerFormat::json : format;
    }
    opterr = said;
    optind = 0;  // parse_options begins anew
    return format;
}

Options parse_options(int argc, char** argv) {
    Options options;
    PeerOptions given;
    for (int letter = 0; (letter = next_option(argc, argv)) != -1;) {
        switch (letter) {
            case 'H':
                given.host = optarg;
                break;
            case 'p':
                given.port = static_cast<std::uint16_t>(parse_number(optarg, 65535, "port"));
                break;
            case 'S':
                given.socket = optarg;
                break;
            case 'l':
                given.local = true;
                break;
            case agent_option:
                given.agent = optarg;
                break;
            case 't':
                options.timeout = std::chrono::seconds(parse_number(optarg, 86400, "time-out"));
                break;
            case json_option:
                break;  // answer_format looks at it
            case 'h':
                options.action = Action::show_help;
                return options;
            case 'V':
                options.action = Action::show_version;
                return options;
            default:
                throw Refusal("the options are not valid");
        }
    }
    options.peer = choose_peer(given);
    options.request = check_request({argv + std::min(optind, argc), argv + argc});
    return options;
}

const std::string_view help_text =
    R"(Usage: zmlogadm [OPTION ...] WORD [ARGUMENT ...]
Sends one request to a log administration agent and prints its answer.

  -H, --host HOST        connect to HOST, a name or an address
  -p, --port PORT        TCP port of the host (default: 24761)
  -S, --socket PATH      connect to a Unix-domain socket instead
  -l, --local            start the agent of this host instead (the default)
      --agent PATH       with --local: the agent's file
  -t, --timeout SECONDS  give up connecting after that long (default: 30)
      --json             print the answer as JSON, one object a line
  -h, --help             print this help
  -V, --version          print the version

Options end at WORD: what follows is sent as it stands.
Words: ENABLELOGGING DISABLELOGGING RESETLOGGING RUNZMSU RUNZMCPLOGS CALCLOGSIZE
  GETDISKSPACE CLEANUP FETCHFILE ZMLA zmsu zmcplogs ktlogcfg versioninfo
Arguments of the logging words are CATEGORY:VALUE[,VALUE...], the categories
  ZMKTUL QPKTUL SEARCHKTUL QRCONF ZMLOGDIR MMLOGDIR VMCONF JAVAGUI KOB RK
  RKPLUGIN CORVID CLOUD HOLKAZ

The answer goes to standard output, its last line, the status, to standard
error. The exit status is the request's when that is 0 to 254, else 252; it is
255 when the command itself failed.
)";
