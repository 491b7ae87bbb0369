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

#include "platform/text_encoding.h"

namespace {

// Statuses of agents.
constexpr int tool_not_executed = 29;
constexpr int user_not_root = 135;
constexpr int host_not_listed = 5762;
constexpr int store_not_loaded = 5772;

constexpr const char* configuration = "/usr/kumel/zembrath/qr.conf";
constexpr const char* debug_logs = "/usr/kumel/zembrath/logs/zmlogadmagent/log.*";

struct ToolFile {
    std::string_view word;
    const char* path;
};

constexpr std::array tool_files = {
    ToolFile{"zmsu", "/usr/kumel/zembrath/bin/support/old_zmsu"},
    ToolFile{"RUNZMSU", "/usr/kumel/zembrath/bin/support/old_zmsu"},
    ToolFile{"zmcplogs", "/usr/kumel/zembrath/bin/support/zmcplogs"},
    ToolFile{"RUNZMCPLOGS", "/usr/kumel/zembrath/bin/support/zmcplogs"},
    ToolFile{"CALCLOGSIZE", "/usr/kumel/zembrath/bin/support/zmcplogs"},
    ToolFile{"versioninfo", "/usr/kumel/zembrath/bin/goodies/support/versioninfo"},
    ToolFile{"ktlogcfg", "/usr/kumel/zembrath/bin/private/ktlogcfg"},
    ToolFile{"ZMLA", "/usr/kumel/zembrath/bin/support/zmlogadm"},
};

struct StoreFile {
    std::string_view category;
    const char* path;
};

constexpr std::array store_files = {
    StoreFile{"ZMKTUL:", "/usr/kumel/ktul/51216.conf"},
    StoreFile{"QPKTUL:", "/usr/kumel/ktul/58330.conf"},
    StoreFile{"SEARCHKTUL:", "/usr/kumel/ktul/60385.conf"},
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
                                          [&](const ToolFile& known) { return known.word == options.request.front(); });
    return tool == tool_files.end() ? nullptr : tool->path;
}

std::string host_hint(const Options& options, const Asker& asker) {
    const std::string entry = asker.is_on_agents_host ? "localhost" : asker.address;
    return "qr.conf does not list this host; " + where(options) + "echo 'SERVER = " + entry + "' | sudo tee --append " +
           configuration;
}

std::string user_hint(const Options& options, const Asker& asker) {
    if (!asker.is_root) {
        return "an agent serves root only; run the same command with sudo";
    }
    if (tool_of(options) != nullptr) {
        return "";  // 135 may be the tool's own exit status
    }
    const RemoteHost* const host = remote_host(options);
    if (host == nullptr) {
        return "the agent does not see this user as root of the host; run the same command outside of any container";
    }
    const std::string name = printable(host->name);
    return "the connection reached " + name + " from another port than it left by; ask over SSH: ssh root@" + name +
           " zmlogadm --local " + printable(options.request.front());
}

std::string tool_hint(const Options& options) {
    const char* const path = tool_of(options);
    return path == nullptr ? ""
                           : "the tool could not be executed, unless 29 is its own exit status; " + where(options) +
                                 "ls -l " + path;
}

std::string store_hint(const Options& options) {
    std::string files;
    for (const StoreFile& store : store_files) {
        if (std::any_of(options.request.begin(), options.request.end(),
                        [&](const std::string& text) { return text.starts_with(store.category); })) {
            files += std::string(" ") + store.path;
        }
    }
    return files.empty() ? ""
                         : "a store is missing, or holds a level that is no number; " + where(options) + "cat" + files;
}

std::string listener_hint(const Options& options) {
    return "nothing listens there; " + where(options) + "sudo systemctl enable --now " +
           (remote_host(options) != nullptr ? "zmlogadmagent-tcp.socket" : "zmlogadmagent.socket");
}

std::string end_hint(const Options& options) {
    const bool is_local = std::holds_alternative<AgentFile>(options.peer);
    return "the agent may have said why; " + where(options) +
           (is_local ? "" : "sudo journalctl --unit 'zmlogadmagent*'; ") + "sudo tail " + debug_logs;
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
        case host_not_listed:
            return host_hint(options, asker);
        case user_not_root:
            return user_hint(options, asker);
        case tool_not_executed:
            return tool_hint(options);
        case store_not_loaded:
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
