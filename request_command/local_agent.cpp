#include "request_command/local_agent.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>

#include "request_command/failure.h"
#include "request_command/service_limits.h"

namespace {

// The only variable that every service has. No other is passed on, so that the user's environment cannot change which
// libraries, language or time zone the agent and its tools use.
constexpr const char* service_path = "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

// Starts the agent as a service is started. Its standard descriptors are the connection and two null devices, and it
// inherits no other. A session of its own keeps signals of a terminal or of `timeout` from it, so that it survives the
// command and can clean up.
class SpawnPlan {
  public:
    explicit SpawnPlan(int socket) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        require(posix_spawn_file_actions_adddup2(&actions_, socket, STDIN_FILENO));
        require(posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_RDWR, 0));
        require(posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_RDWR, 0));
        require(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
        require(posix_spawn_file_actions_addchdir_np(&actions_, "/"));
        sigset_t signals;
        sigemptyset(&signals);
        require(posix_spawnattr_setsigmask(&attributes_, &signals));
        sigfillset(&signals);
        require(posix_spawnattr_setsigdefault(&attributes_, &signals));
        require(posix_spawnattr_setflags(&attributes_,
                                         POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }

    // `name` is the path as the user wrote it.
    Child start(const std::string& file, std::string name) const {
        pid_t pid = -1;
        std::string path = service_path;
        const std::array<char*, 2> argv = {name.data(), nullptr};
        const std::array<char*, 2> environment = {path.data(), nullptr};
        const ServiceLimits limits;
        const int error = posix_spawn(&pid, file.c_str(), &actions_, &attributes_, argv.data(), environment.data());
        if (error != 0) {
            throw system_failure(error, "cannot start the agent " + name, FailureCode::agent_not_started);
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

struct Freer {
    void operator()(char* text) const { free(text); }  // NOLINT(cppcoreguidelines-no-malloc): the C library's
};

// The agent starts in another folder, so a relative path would not find it.
std::string absolute(const std::string& path) {
    if (path.starts_with('/')) {
        return path;
    }
    const std::unique_ptr<char, Freer> folder(get_current_dir_name());
    if (folder == nullptr) {
        throw system_failure(errno, "cannot find the agent " + path, FailureCode::agent_not_started);
    }
    return std::string(folder.get()) + "/" + path;
}

}  // namespace

Connection start_agent(const AgentFile& file) {
    std::array<int, 2> ends;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == -1) {
        throw system_failure(errno, "cannot make a socket pair", FailureCode::agent_not_started);
    }
    Descriptor ours(ends[0]);
    const Descriptor theirs(ends[1]);
    return {.agent = SpawnPlan(theirs.get()).start(absolute(file.path), file.path), .socket = std::move(ours)};
}
