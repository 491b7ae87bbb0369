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
    // Starts that many processes. Each calls `work` with its number, from 0. `work` returns the count of that writer.
    Writers(int count, const std::function<int(int)>& work);
    ~Writers();
    Writers(const Writers&) = delete;
    Writers& operator=(const Writers&) = delete;

    [[nodiscard]] bool are_running() const;

    // Waits for the ends of all writers. Returns the sum of their counts. Throws if a writer failed.
    int finish();

  private:
    Descriptor counts_;
    std::vector<pid_t> processes_;
};
