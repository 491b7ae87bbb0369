// Processes that change files at the same time, each through agents of its own.
#pragma once

#include <sys/types.h>

#include <functional>
#include <vector>

#include "tests/support/agent_runner.h"

// Starts an agent, asks it, and waits for its end.
[[nodiscard]] AgentRun ask_own_agent(const Request& request);

class Writers {
  public:
    // Starts so many processes, which do the work with their number, from 0. What it returns is a count of that writer.
    Writers(int count, const std::function<int(int)>& work);
    ~Writers();
    Writers(const Writers&) = delete;
    Writers& operator=(const Writers&) = delete;

    [[nodiscard]] bool are_running() const;

    // Waits for their ends. Returns the sum of their counts; throws when one of them failed to count.
    int finish();

  private:
    Descriptor counts_;
    std::vector<pid_t> processes_;
};
