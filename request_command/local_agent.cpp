#include "request_command/local_agent.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>

#include "request_command/failure.h"

namespace {

// How the agent is started: the connection and two null devices are its standard descriptors, it inherits no
// other, and the signal that the command ignores has its usual effect again.
class SpawnPlan {
  public:
    explicit SpawnPlan(int socket) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        require(posix_spawn_file_actions_adddup2(&actions_, socket, STDIN_FILENO));
        require(posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_RDWR, 0));
        require(posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_RDWR, 0));
        require(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGPIPE);
        require(posix_spawnattr_setsigdefault(&attributes_, &signals));
        require(posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF));
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }

    Child start(std::string path) const {
        pid_t pid = -1;
        const std::array<char*, 2> argv = {path.data(), nullptr};
        const int error = posix_spawn(&pid, path.c_str(), &actions_, &attributes_, argv.data(), environ);
        if (error != 0) {
            throw system_failure(error, "cannot start the agent " + path, FailureCode::agent_not_started);
        }
        return Child(pid);
    }

  private:
    static void require(int error) {
        if (error != 0) {
            throw system_failure(error, "cannot prepare the start of the agent", FailureCode::agent_not_started);
        }
    }

    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
};

}  // namespace

Connection start_agent(const AgentFile& file) {
    std::array<int, 2> ends;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == -1) {
        throw system_failure(errno, "cannot make a socket pair", FailureCode::agent_not_started);
    }
    Descriptor ours(ends[0]);
    const Descriptor theirs(ends[1]);
    return {.agent = SpawnPlan(theirs.get()).start(file.path), .socket = std::move(ours)};
}
