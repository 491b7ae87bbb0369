#include "request_command/hints.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <variant>

#include "agent/tool_files.h"
#include "logging_config/settings.h"
#include "platform/product_files.h"
#include "platform/status_codes.h"
#include "platform/text_encoding.h"

namespace {

struct Store {
    const char* category;
    int product;
};

constexpr std::array stores = {
    Store{category::zmktul, ktul::zmktul_product},
    Store{category::qpktul, ktul::qpktul_product},
    Store{category::searchktul, ktul::searchktul_product},
};

const RemoteHost* remote_host(const Options& options) {
    return std::get_if<RemoteHost>(&options.peer);
}

// Introduces a command to run: "on backup7: " for another host, "run: " for this one.
std::string where(const Options& options) {
    const RemoteHost* const host = remote_host(options);
    return host == nullptr ? "run: " : "on " + printable(host->name) + ": ";
}

const char* tool_of(const Options& options) {
    const auto* const tool = std::find_if(tool_files.begin(), tool_files.end(),
                                          [&](const ToolFile& known) { return known.name == options.request.front(); });
    return tool == tool_files.end() ? nullptr : tool->path;
}

std::string host_hint(const Options& options, const Asker& asker) {
    const std::string entry = asker.is_on_agents_host ? "localhost" : asker.address;
    // The newline in front ends a last line that has none. Otherwise the line would become part of its value.
    return "qr.conf does not list this host; " + where(options) + "printf '\\nSERVER = " + entry +
           "\\n' | sudo tee --append " + product_files::main_configuration;
}

// No shell changes these characters.
constexpr std::string_view plain_characters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789%+,-./:=@_";

// Returns the request as words of a command. Leaves the arguments out if a shell would change one of them: over SSH,
// two shells read them.
std::string words_for_shell(const std::vector<std::string>& request) {
    const auto is_plain = [](const std::string& text) {
        return !text.empty() && text.find_first_not_of(plain_characters) == std::string::npos;
    };
    if (!std::all_of(request.begin(), request.end(), is_plain)) {
        return printable(request.front()) + " ...";
    }
    std::string words;
    for (const std::string& text : request) {
        words += (words.empty() ? "" : " ") + text;
    }
    return words;
}

std::string user_hint(const Options& options, const Asker& asker) {
    if (!asker.is_root) {
        return "an agent serves only root; run the same command with sudo";
    }
    const std::string or_tool = tool_of(options) == nullptr ? "" : ", or 135 is the tool's own exit status";
    const RemoteHost* const host = remote_host(options);
    if (host == nullptr) {
        return "the agent does not see this user as root of the host" + or_tool +
               "; run the same command outside of any container";
    }
    const std::string name = printable(host->name);
    return "the source port changed on the way to " + name + or_tool + "; ask over SSH: ssh root@" + name +
           " zmlogadm --local " + words_for_shell(options.request);
}

std::string tool_hint(const Options& options) {
    const char* const path = tool_of(options);
    return path == nullptr
               ? ""
               : "the tool could not be executed, or 29 is its own exit status; " + where(options) + "ls -l " + path;
}

std::string store_hint(const Options& options) {
    std::string files;
    for (const Store& store : stores) {
        const std::string key = std::string(store.category) + ":";
        if (std::any_of(options.request.begin(), options.request.end(),
                        [&](const std::string& text) { return text.starts_with(key); })) {
            files += " " + product_files::logging_store(store.product);
        }
    }
    return files.empty()
               ? ""
               : "a store is missing or contains a level that is not a number; " + where(options) + "cat" + files;
}

std::string listener_hint(const Options& options) {
    return "nothing listens there; " + where(options) + "sudo systemctl enable --now " +
           (remote_host(options) != nullptr ? "zmlogadmagent-tcp.socket" : "zmlogadmagent.socket");
}

std::string end_hint(const Options& options) {
    const bool is_local = std::holds_alternative<AgentFile>(options.peer);
    return "the agent may have logged the reason; " + where(options) +
           (is_local ? "" : "sudo journalctl --unit 'zmlogadmagent*'; ") + "sudo tail " + product_files::log_root +
           "/" + product_files::agent_log_folder + "/log.*";
}

// Returns the address as text, without its interface. Empty for a socket that has no address.
std::string address_text(const sockaddr_storage& address, socklen_t size) {
    std::array<char, NI_MAXHOST> text = {};
    if ((address.ss_family != AF_INET && address.ss_family != AF_INET6) ||
        getnameinfo(reinterpret_cast<const sockaddr*>(&address), size, text.data(), text.size(), nullptr, 0,
                    NI_NUMERICHOST) != 0) {
        return "";
    }
    const std::string_view whole = text.data();
    return std::string(whole.substr(0, whole.find('%')));
}

}  // namespace

Asker asker_of(int socket) {
    sockaddr_storage own = {};
    sockaddr_storage peer = {};
    socklen_t own_size = sizeof own;
    socklen_t peer_size = sizeof peer;
    Asker asker = {.is_root = geteuid() == 0, .is_on_agents_host = true, .address = ""};
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&own), &own_size) == 0 &&
        getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &peer_size) == 0) {
        asker.address = address_text(own, own_size);
        // A connection within one host has the same address at both ends.
        asker.is_on_agents_host = asker.address == address_text(peer, peer_size) || asker.address.starts_with("127.");
    }
    return asker;
}

std::string hint_about_status(int status, const Options& options, const Asker& asker) {
    switch (status) {
        case status::peer_not_a_server:
            return host_hint(options, asker);
        case status::peer_not_root:
            return user_hint(options, asker);
        case status::tool_not_executed:
            return tool_hint(options);
        case status::ktul_not_loaded:
            return store_hint(options);
        default:
            return "";
    }
}

std::string hint_about_failure(FailureCode code, const Options& options) {
    switch (code) {
        case FailureCode::connection_refused:
            return listener_hint(options);
        case FailureCode::no_status:
            return end_hint(options);
        default:
            return "";
    }
}
