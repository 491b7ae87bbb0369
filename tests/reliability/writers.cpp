#include "tests/reliability/writers.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "tests/support/agent_process.h"
#include "tests/support/connected_sockets.h"

namespace {

void check(bool done, const char* what) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

// Runs a writer. Returns whether it has reported its count.
bool work_and_report(const std::function<int(int)>& work, int writer, int pipe) {
    try {
        const std::string count = std::to_string(work(writer)) + "\n";
        return write_all(pipe, count);
    } catch (const std::exception& failure) {
        static_cast<void>(write_all(STDERR_FILENO, std::string(failure.what()) + "\n"));
        return false;
    }
}

}  // namespace

AgentRun ask_own_agent(const Request& request) {
    ConnectedSockets connection = connect_locally();
    AgentRun run;
    run.pid = start_agent(connection.agent_end.get(), {});
    connection.agent_end.reset();
    check(write_all(connection.peer_end.get(), netstrings(request)), "send");
    check(read_all(connection.peer_end.get(), run.received), "receive");
    check(waitpid(run.pid, &run.wait_status, 0) == run.pid, "wait for an agent");
    return run;
}

Writers::Writers(int count, const std::function<int(int)>& work) {
    int ends[2] = {-1, -1};
    check(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    counts_.reset(ends[0]);
    const Descriptor reporting(ends[1]);
    for (int writer = 0; writer < count; ++writer) {
        const pid_t process = fork();
        check(process != -1, "fork");
        if (process == 0) {
            _exit(work_and_report(work, writer, reporting.get()) ? 0 : 1);
        }
        processes_.push_back(process);
    }
}

Writers::~Writers() {
    for (const pid_t process : processes_) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

// The pipe reports its end when no writer has it open. It is large enough for all counts.
bool Writers::are_running() const {
    pollfd waited = {.fd = counts_.get(), .events = 0, .revents = 0};
    return poll(&waited, 1, 0) == 0;
}

int Writers::finish() {
    bool all_reported = true;
    for (const pid_t process : std::exchange(processes_, {})) {
        int status = 0;
        check(waitpid(process, &status, 0) == process, "wait for a writer");
        all_reported = all_reported && status == 0;
    }
    std::string counts;
    check(read_all(counts_.get(), counts), "read the counts");
    if (!all_reported) {
        throw std::runtime_error("a writer failed");
    }
    int sum = 0;
    for (std::size_t at = 0; at < counts.size(); at = counts.find('\n', at) + 1) {
        sum += std::stoi(counts.substr(at));
    }
    return sum;
}
