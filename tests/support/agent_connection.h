// A connection with the agent's end in this process, and a peer that receives everything.
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

    // Returns what the peer has received since the last call. Does not wait.
    std::string received();

    // Returns what the peer has sent and the agent has not read.
    std::string left_for_agent();

  private:
    Descriptor agent_;
    Descriptor peer_;
};
