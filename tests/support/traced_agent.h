// The real agent, stopped before and after each of its system calls, with a request that waits for it.
#pragma once

#include "tests/support/agent_runner.h"
#include "tests/support/connected_sockets.h"
#include "tests/support/traced_process.h"

class TracedAgent {
  public:
    explicit TracedAgent(const Request& request);

    // See TracedProcess.
    bool step() { return process_.step(); }
    void kill() { process_.kill(); }
    [[nodiscard]] bool succeeded() const { return process_.succeeded(); }

  private:
    ConnectedSockets sockets_;
    TracedProcess process_;
};
