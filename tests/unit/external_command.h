// A tool that execute_cmd_send_output runs, and the socket that it has for its standard streams.
#pragma once

#include <csignal>
#include <string>

#include "commands/external_commands.h"
#include "tests/unit/agent_test.h"

inline constexpr const char* tag = "execute_cmd_send_output";
inline const std::string bin = "/usr/kumel/zembrath/bin/";
inline const std::string utility = bin + "support/old_zmsu";

class ExecuteCmdSendOutput : public ProductPathTest {
  protected:
    ExecuteCmdSendOutput() { signal(SIGPIPE, SIG_IGN); }

    int execute(const RequestVector& request) {
        return call_that_forks([&] { return execute_cmd_send_output(request, socket_.agent()); });
    }

    // The messages of the parent without the first one, which holds the number of the child.
    static Lines later_messages() {
        Lines lines = recording_platform::messages_under(tag);
        lines.erase(lines.begin());
        return lines;
    }

    std::string fd() const { return std::to_string(socket_.agent()); }

    const LogLine nothing_to_read_{log_level::detail, tag,
                                   "recv return value=-1 ERRNO=11 (Resource temporarily unavailable)"};
    AgentConnection socket_;
};
