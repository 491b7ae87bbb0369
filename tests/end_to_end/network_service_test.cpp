// A network service that starts the agent for every connection.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <system_error>

#include "tests/support/agent_runner.h"
#include "tests/support/connected_sockets.h"
#include "tests/support/log_matchers.h"
#include "tests/support/private_root.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/tested_program.h"

namespace {

using log_level::information;

constexpr int agent_port = 24761;

void check(int result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

// The service. It listens when the constructor returns.
class NetworkService {
  public:
    explicit NetworkService(const std::string& address) {
        int ends[2] = {-1, -1};
        check(pipe2(ends, O_CLOEXEC), "pipe");
        messages_.reset(ends[0]);
        const Descriptor writing(ends[1]);
        const std::string listening = address + ":" + std::to_string(agent_port);
        const std::string activator = inside_path(ZMLA_SOCKET_ACTIVATE);
        const std::string agent = tested_program(ZMLA_AGENT_FILE);
        process_ = fork();
        check(process_, "fork");
        if (process_ == 0) {
            dup2(writing.get(), STDERR_FILENO);
            execl(activator.c_str(), activator.c_str(), "--accept", "--inetd", "-l", listening.c_str(), agent.c_str(),
                  nullptr);
            _exit(127);
        }
        await_listening();
    }

    ~NetworkService() {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }
    NetworkService(const NetworkService&) = delete;
    NetworkService& operator=(const NetworkService&) = delete;

  private:
    void await_listening() {
        std::string text;
        char byte = 0;
        while (text.find("Listening on") == std::string::npos) {
            const ssize_t count = read(messages_.get(), &byte, 1);
            if (count <= 0) {
                throw std::runtime_error("the network service does not listen: " + text);
            }
            text += byte;
        }
    }

    Descriptor messages_;
    pid_t process_ = -1;
};

// Sends a request, if there is one, over a connection of its own and returns the whole answer.
AgentRun ask(const std::string& server, const std::string& peer, int peer_port, const std::optional<Request>& request) {
    const Descriptor connection = connect_to(server, agent_port, peer, peer_port);
    AgentRun answer;
    if ((request.has_value() && !write_all(connection.get(), netstrings(*request))) ||
        !read_all(connection.get(), answer.received)) {
        throw std::system_error(errno, std::generic_category(), "exchange");
    }
    return answer;
}

class AgentOfANetworkService : public ProductTest {};

TEST_F(AgentOfANetworkService, AnswersRequestsOfRoot) {
    const NetworkService service("127.0.0.1");
    const AgentRun answer = ask("127.0.0.1", "127.0.0.1", 1000, Request{"CLEANUP", "x"});
    EXPECT_EQ(answer.output(), "CLEANUP: Will not clean up unknown location: x\n");
    EXPECT_EQ(answer.status(), 5820);
    EXPECT_THAT(read_debug_log(),
                LogHas({information, "xnet_verify_peer_creds", "H=127.0.0.1 P=1000 U=root F=0x42 UT=2"}));
}

TEST_F(AgentOfANetworkService, IsStartedForEachRequest) {
    const NetworkService service("127.0.0.1");
    EXPECT_EQ(ask("127.0.0.1", "127.0.0.1", 1000, Request{"FETCHFILE"}).status(), 0);
    EXPECT_EQ(ask("127.0.0.1", "127.0.0.1", 1001, Request{"NOWORD"}).status(), 5764);
}

TEST_F(AgentOfANetworkService, RunsTools) {
    install_tool(versioninfo_tool, {stand_in::print("version 1\n"), stand_in::exit_with(2)});
    const NetworkService service("127.0.0.1");
    const AgentRun answer = ask("127.0.0.1", "127.0.0.1", 1000, Request{"versioninfo"});
    EXPECT_EQ(answer.output(), "version 1\n\n");
    EXPECT_EQ(answer.status(), 2);
}

TEST_F(AgentOfANetworkService, RejectsUnknownUsersWithoutARequest) {
    const NetworkService service("127.0.0.1");
    const AgentRun answer = ask("127.0.0.1", "127.0.0.1", 0, std::nullopt);
    EXPECT_EQ(answer.output(), "");
    EXPECT_EQ(answer.status(), 135);
}

TEST_F(AgentOfANetworkService, AnswersIpv4AndIpv6OnOneSocket) {
    const NetworkService service("[::]");
    EXPECT_EQ(ask("127.0.0.1", "127.0.0.1", 1000, Request{"FETCHFILE"}).status(), 0);
    EXPECT_EQ(ask("::1", "::1", 1000, Request{"FETCHFILE"}).status(), 0);
    const std::vector<LogLine> log = read_debug_log();
    EXPECT_THAT(log, LogHas({information, "xnet_verify_peer_creds", "H=127.0.0.1 P=1000 U=root F=0x42 UT=2"}));
    EXPECT_THAT(log, LogHas({information, "xnet_verify_peer_creds", "H=::1 P=1000 U=root F=0x42 UT=2"}));
}

}  // namespace
