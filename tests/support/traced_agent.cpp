#include "tests/support/traced_agent.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/support/tested_program.h"

namespace {

ConnectedSockets connect_and_send(const Request& request) {
    ConnectedSockets sockets = connect_locally();
    if (!write_all(sockets.peer_end.get(), netstrings(request))) {
        throw std::runtime_error("the request could not be sent");
    }
    return sockets;
}

int become_agent(int socket) {
    const int null = open("/dev/null", O_RDWR);
    if (dup2(socket, STDIN_FILENO) != -1 && dup2(null, STDOUT_FILENO) != -1 && dup2(null, STDERR_FILENO) != -1) {
        const std::string program = tested_program(ZMLA_AGENT_FILE);
        setenv("ASAN_OPTIONS", "detect_leaks=0",
               1);  // the leak check of a sanitizer build cannot run in a traced process
        execl(program.c_str(), program.c_str(), nullptr);
    }
    return 1;
}

}  // namespace

TracedAgent::TracedAgent(const Request& request)
    : sockets_(connect_and_send(request)), process_([this] { return become_agent(sockets_.agent_end.get()); }) {}
