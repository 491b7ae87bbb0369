#include "request_command/options.h"

#include <sys/un.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include "platform/text_encoding.h"
#include "request_command/known_words.h"
#include "request_command/option_table.h"

namespace {

// The longest word or argument that an agent receives.
constexpr std::size_t longest_text = 2047;

// The address of a Unix-domain socket ends with a zero byte.
constexpr std::size_t longest_socket_path = sizeof(sockaddr_un::sun_path) - 1;

// The options that select the peer. They may contradict each other.
struct PeerOptions {
    std::optional<std::string> host;
    std::optional<std::uint16_t> port;
    std::optional<std::string> socket;
    bool local = false;
    std::optional<std::string> agent;
};

int parse_number(const std::string& text, int most, const std::string& what) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || number < 1 || number > most) {
        throw Refusal("the " + what + " must be a number from 1 to " + std::to_string(most) + ", not \"" + text + "\"");
    }
    return number;
}

void refuse_unusable_texts(const PeerOptions& given) {
    if (given.host && given.host->empty()) {
        throw Refusal("the host must not be empty");
    }
    if (given.agent && given.agent->empty()) {
        throw Refusal("the path of the agent must not be empty");
    }
    if (given.socket && (given.socket->empty() || given.socket->size() > longest_socket_path)) {
        throw Refusal("the path of a socket must have 1 to " + std::to_string(longest_socket_path) + " bytes, not " +
                      std::to_string(given.socket->size()));
    }
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
    refuse_unusable_texts(given);
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
    const auto is_meant = [name](const CommandOption& row) { return std::string_view(row.name).starts_with(name); };
    return !name.empty() && std::any_of(request_option::all.begin(), request_option::all.end(), is_meant);
}

// Checks a cluster of letters, up to the first that takes an argument.
bool are_own_letters(std::string_view given) {
    for (const char letter : given) {
        const auto* const row = std::find_if(request_option::all.begin(), request_option::all.end(),
                                             [letter](const CommandOption& option) { return option.id == letter; });
        if (row == request_option::all.end()) {
            return false;
        }
        if (row->takes_argument()) {
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
    if (!is_agents_own(request.front())) {
        return;
    }
    const auto misplaced = std::find_if(request.begin() + 1, request.end(), is_own_option);
    if (misplaced == request.end()) {
        return;
    }
    const std::string option = printable(*misplaced);
    throw Refusal(
        "put the option " + option + " in front of " + request.front() +
            (takes(request.front(), Takes::directories) ? "; write a directory of that name as ./" + option : ""),
        FailureCode::misplaced_option);
}

std::vector<std::string> check_request(std::vector<std::string> request) {
    if (request.empty()) {
        throw Refusal("a request word is missing");
    }
    for (std::size_t i = 0; i != request.size(); ++i) {
        if (request[i].size() > longest_text) {
            throw Refusal((i == 0 ? std::string("the word") : "argument " + std::to_string(i)) + " has " +
                          std::to_string(request[i].size()) + " bytes; the limit is " + std::to_string(longest_text));
        }
    }
    refuse_misplaced_options(request);
    return request;
}

void take_option(const GivenOption& given, PeerOptions& peer, Options& options) {
    switch (given.id) {
        case request_option::host:
            peer.host = given.text;
            break;
        case request_option::port:
            peer.port = static_cast<std::uint16_t>(parse_number(given.text, 65535, "port"));
            break;
        case request_option::socket:
            peer.socket = given.text;
            break;
        case request_option::local:
            peer.local = true;
            break;
        case request_option::agent:
            peer.agent = given.text;
            break;
        case request_option::timeout:
            options.timeout = std::chrono::seconds(parse_number(given.text, 86400, "time-out"));
            break;
        case request_option::json:
            options.format = AnswerFormat::json;
            break;
        case request_option::strict:
            options.verdict = Verdict::strict;
            break;
        case request_option::no_progress:
            options.waiting = Waiting::silent;
            break;
        default:
            throw Refusal(given.text);
    }
}

template <typename Rows>
void append_names(const Rows& rows, std::vector<std::string_view>& names) {
    std::transform(rows.begin(), rows.end(), std::back_inserter(names), [](const auto& row) { return row.name; });
}

}  // namespace

CommandLine read_options(int argc, char** argv) {
    return read_command_line(request_option::all, OptionsEnd::at_first_word, argc, argv);
}

AnswerFormat answer_format(const CommandLine& line) {
    const bool is_json = std::any_of(line.options.begin(), line.options.end(),
                                     [](const GivenOption& given) { return given.id == request_option::json; });
    return is_json ? AnswerFormat::json : AnswerFormat::plain;
}

Options check_options(const CommandLine& line) {
    Options options;
    PeerOptions peer;
    for (const GivenOption& given : line.options) {
        if (given.id == request_option::help || given.id == request_option::version) {
            options.action = given.id == request_option::help ? Action::show_help : Action::show_version;
            return options;
        }
        take_option(given, peer, options);
    }
    options.peer = choose_peer(peer);
    options.request = check_request(line.words);
    return options;
}

std::string help_text() {
    std::vector<std::string_view> words;
    append_names(known_words, words);
    std::vector<std::string_view> categories;
    append_names(known_categories, categories);
    return "Usage: zmlogadm [OPTION ...] WORD [ARGUMENT ...]\n"
           "Sends one request to a log administration agent and prints its answer.\n\n" +
           option_help(request_option::all) + "\nOptions come before WORD; what follows WORD is sent unchanged.\n" +
           wrapped_names("Words:", words) + "The logging words take CATEGORY:VALUE[,VALUE...], with the categories\n" +
           wrapped_names(" ", categories) +
           "The answer goes to standard output; its status, and what failed, to standard\n"
           "error. Exit status: the request's (252 if not 0 to 254); 255: zmlogadm failed.\n";
}
