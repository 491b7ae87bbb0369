// A run of the whole agent in a child process, from its start to its exit status.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "tests/support/call_journal.h"
#include "tests/unit/agent_test.h"

// `main` of the agent.
int agent_main();

inline constexpr const char* program = "zmlogadmagent";
inline const std::string logs = "/usr/kumel/zembrath/logs";
inline const std::string support = "/usr/kumel/zembrath/bin/support/";

inline std::string number(int value) {
    return std::to_string(value);
}

class AgentLifecycle : public ProductPathTest {
  protected:
    AgentLifecycle() { make_folder(logs); }

    void request(const Texts& elements) {
        script.framed_reads.push_back(recording_platform::framed_number(static_cast<long>(elements.size())));
        for (const std::string& element : elements) {
            script.framed_reads.push_back(recording_platform::framed_text(element));
        }
    }

    // Runs the agent in a child process with the connection as descriptor 0. `prepare` runs there first.
    int run(const std::function<void()>& prepare = [] {}) {
        const int status = run_in_child([&] {
            dup3(socket_.agent(), STDIN_FILENO, 0);
            prepare();
            call_journal::clear();
            return agent_main();
        });
        script.framed_reads.clear();
        failing_calls::reset();
        return status;
    }

    AgentConnection socket_;
};
