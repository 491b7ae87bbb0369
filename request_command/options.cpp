#include "request_command/options.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <optional>
#include <utility>

#include "platform/text_encoding.h"
#include "request_command/known_words.h"

namespace {

// The longest word or argument that an agent receives.
constexpr std::size_t longest_text = 2047;

// Options without a letter.
constexpr int agent_option = 256;
constexpr int json_option = 257;
constexpr int strict_option = 258;
constexpr int no_progress_option = 259;

// "+" ends the options at the word: what follows belongs to the request, even if it begins with "-".
constexpr const char* letters = "+H:p:S:lt:hV";

constexpr std::array long_options = {
    option{"host", required_argument, nullptr, 'H'},
    option{"port", required_argument, nullptr, 'p'},
    option{"socket", required_argument, nullptr, 'S'},
    option{"local", no_argument, nullptr, 'l'},
    option{"agent", required_argument, nullptr, agent_option},
    option{"timeout", required_argument, nullptr, 't'},
    option{"json", no_argument, nullptr, json_option},
    option{"strict", no_argument, nullptr, strict_option},
    option{"no-progress", no_argument, nullptr, no_progress_option},
    option{"help", no_argument, nullptr, 'h'},
    option{"version", no_argument, nullptr, 'V'},
    option{nullptr, 0, nullptr, 0},
};

// What the command line says about the peer, before contradictions are refused.
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

// Accepts abbreviations, as getopt_long does: "--ho=X" is "--host=X".
bool is_own_long_option(std::string_view name) {
    name = name.substr(0, name.find('='));
    return !name.empty() && std::any_of(long_options.begin(), long_options.end() - 1, [name](const option& known) {
        return std::string_view(known.name).starts_with(name);
    });
}

// Checks a cluster of letters, up to the first that takes an argument.
bool are_own_letters(std::string_view given) {
    const std::string_view own = std::string_view(letters).substr(1);
    for (const char letter : given) {
        const std::size_t found = letter == ':' ? std::string_view::npos : own.find(letter);
        if (found == std::string_view::npos) {
            return false;
        }
        if (own.substr(found + 1).starts_with(':')) {
            break;
        }
    }
    return !given.empty();
}

bool is_own_option(std::string_view argument) {
    if (argument.starts_with("--")) {
        return is_own_long_option(argument.substr(2));
    }
    return argument.starts_with('-') && are_own_letters(argument.substr(1));
}

// "CLEANUP /a -H backup7" would clean up this host. Words that pass their arguments to tools are not checked, because
// tools have options.
void refuse_misplaced_options(const std::vector<std::string>& request) {
    if (!is_one_of(request.front(), counted_words)) {
        return;
    }
    const auto misplaced = std::find_if(request.begin() + 1, request.end(), is_own_option);
    if (misplaced == request.end()) {
        return;
    }
    const bool takes_directories = request.front() == space_word || request.front() == cleanup_word;
    throw Refusal("the option " + printable(*misplaced) + " has to be put in front of " + request.front() +
                      (takes_directories ? "; a directory of that name is written ./" + printable(*misplaced) : ""),
                  FailureCode::misplaced_option);
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
    refuse_misplaced_options(request);
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
    optind = 0;  // parse_options starts again
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
                options.format = AnswerFormat::json;
                break;
            case strict_option:
                options.verdict = Verdict::strict;
                break;
            case no_progress_option:
                options.waiting = Waiting::silent;
                break;
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
      --strict           exit with 1 if the status is 0 and yet anything failed
      --no-progress      do not show on a terminal that an answer takes long
  -h, --help             print this help
  -V, --version          print the version

Options come before WORD: what follows it is sent as it stands.
Words: ENABLELOGGING DISABLELOGGING RESETLOGGING RUNZMSU RUNZMCPLOGS CALCLOGSIZE
  GETDISKSPACE CLEANUP FETCHFILE ZMLA zmsu zmcplogs ktlogcfg versioninfo
Arguments of the logging words are CATEGORY:VALUE[,VALUE...], the categories
  ZMKTUL QPKTUL SEARCHKTUL QRCONF ZMLOGDIR MMLOGDIR VMCONF JAVAGUI KOB RK
  RKPLUGIN CORVID CLOUD HOLKAZ
The answer goes to standard output; its status, and what failed, to standard
error. The exit status is the request's, 252 if that is no 0 to 254, else 255.
)";
