#include "tests/reliability/network_service.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <functional>
#include <map>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "tests/support/connected_sockets.h"
#include "tests/support/private_root.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

namespace {

// Only a hanging test waits that long.
constexpr int watchdog_milliseconds = 60'000;

constexpr int agent_port = 24761;

const std::string service_folder = "/tmp/service";
const std::string service_log = service_folder + "/log";

const std::string debug_log_folder = logs_folder + "/zmlogadmagent";

void check(long result, const std::string& what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

std::string text_in(const std::string& folder) {
    std::string text;
    for (const std::string& name : names_in(folder)) {
        text += read_file(folder + "/" + name);
    }
    return text;
}

// Waits until the predicate holds for the text of the files in the folder.
void await_in_folder(const std::string& folder, const std::function<bool(const std::string&)>& predicate) {
    for (;;) {
        const Descriptor changes(inotify_init1(IN_CLOEXEC));
        check(inotify_add_watch(changes.get(), folder.c_str(), IN_CREATE | IN_MODIFY), "watch " + folder);
        if (predicate(text_in(folder))) {
            return;
        }
        pollfd waited = {.fd = changes.get(), .events = POLLIN, .revents = 0};
        if (poll(&waited, 1, watchdog_milliseconds) == 0) {
            throw std::runtime_error("nothing new in " + folder);
        }
    }
}

int count_of(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

bool is_number(const std::string& name) {
    return std::all_of(name.begin(), name.end(), [](unsigned char byte) { return isdigit(byte) != 0; });
}

// Returns the parent of a process by /proc, or 0 if the process has ended meanwhile.
pid_t parent_of(pid_t process) {
    std::string line;
    const Descriptor file(open(("/proc/" + std::to_string(process) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid() || !read_all(file.get(), line)) {
        return 0;
    }
    // "PID (NAME) STATE PARENT". A name may contain any text.
    const std::size_t state = line.rfind(") ") + 2;
    return std::stoi(line.substr(state + 2));
}

int count_descendants_of_test() {
    std::map<pid_t, pid_t> parents;
    for (const std::string& name : names_in("/proc")) {
        if (is_number(name)) {
            parents[std::stoi(name)] = parent_of(std::stoi(name));
        }
    }
    const auto descends = [&](pid_t process) {
        while (process > 1 && process != getpid()) {
            process = parents[process];
        }
        return process == getpid();
    };
    std::vector<pid_t> processes;
    for (const auto& [process, parent] : parents) {
        processes.push_back(process);
    }
    return static_cast<int>(std::count_if(processes.begin(), processes.end(), descends)) - 1;
}

int count_descriptors(const std::string& process) {
    return static_cast<int>(names_in("/proc/" + process + "/fd").size());
}

[[noreturn]] void become_service() {
    const std::string program = inside_path(ZMLA_SOCKET_ACTIVATE);
    const std::string agent = inside_path(ZMLA_AGENT_FILE);
    const std::string listening = "127.0.0.1:" + std::to_string(agent_port);
    const int log = open(service_log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (log != -1 && dup2(log, STDERR_FILENO) != -1) {
        close(log);
        execl(program.c_str(), program.c_str(), "--accept", "--inetd", "-l", listening.c_str(), agent.c_str(), nullptr);
    }
    _exit(127);
}

}  // namespace

NetworkService::NetworkService() {
    // Orphans of agents become children of the test, so that they count.
    check(prctl(PR_SET_CHILD_SUBREAPER, 1), "adopt");
    make_folder(service_folder);
    process_ = fork();
    check(process_, "fork");
    if (process_ == 0) {
        become_service();
    }
    await_in_folder(service_folder, [](const std::string& text) { return count_of(text, "Listening on") == 1; });
}

NetworkService::~NetworkService() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

Descriptor NetworkService::connect_from(int port) {
    constexpr int addresses = 250;
    const int number = connections_++;
    const std::string address =
        "127.1." + std::to_string(number / addresses) + "." + std::to_string(1 + number % addresses);
    return connect_to("127.0.0.1", agent_port, address, port);
}

void NetworkService::await_end_of_all_but(int count) const {
    const int ended = connections_ - count;
    await_in_folder(service_folder,
                    [&](const std::string& text) { return count_of(text, " died with code ") == ended; });
}

std::set<int> NetworkService::statuses_of_agents() const {
    const std::string mark = " died with code ";
    const std::string text = text_in(service_folder);
    std::set<int> statuses;
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
        statuses.insert(std::stoi(text.substr(at + mark.size(), 3)));
    }
    return statuses;
}

ServiceState NetworkService::state() const {
    return {.processes = count_descendants_of_test(),
            .descriptors_of_service = count_descriptors(std::to_string(process_)),
            .descriptors_of_test = count_descriptors("self")};
}

long NetworkService::memory() const {
    const std::string text = read_file("/proc/" + std::to_string(process_) + "/status");
    const std::string mark = "VmRSS:";
    return std::stol(text.substr(text.find(mark) + mark.size()));
}

int count_in_debug_log(const std::string& text) {
    return count_of(text_in(debug_log_folder), text);
}

void await_in_debug_log(const std::string& text, int count) {
    await_in_folder(debug_log_folder, [&](const std::string& log) { return count_of(log, text) >= count; });
}
