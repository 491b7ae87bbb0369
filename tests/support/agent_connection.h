// A connection with the agent's end in this process, and a peer that takes what comes.
#pragma once

#include <string>

#include "platform/posix.h"

class AgentConnection {
  public:
    AgentConnection();

    // The agent's end.
    [[nodiscard]] int agent() const { return agent_.get(); }

    void peer_sends(const std::string& text);
    void peer_closes() { peer_.reset(); }

    // Returns what has reached the peer since the last call. What was written has: nothing is waited for.
    std::string received();

    // Returns what the peer has sent and the agent has not read.
    std::string left_for_agent();

  private:
    Descriptor agent_;
    Descriptor peer_;
};
