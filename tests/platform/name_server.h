// A name server on this host.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/posix.h"
#include "tests/platform/child_process.h"

// Runs the only name server of the private root, 127.0.0.1. It has the same name for every address, and no address for
// any name.
class NameServer {
  public:
    explicit NameServer(const std::string& name_of_every_address);

    // Ends the server. Returns its queries as "address NAME" and "name NAME", each once.
    std::vector<std::string> questions();

  private:
    Descriptor socket_;
    Descriptor told_;  // the questions, a line each
    std::unique_ptr<ChildProcess> process_;
};

// Three name servers, 127.0.0.1 to 127.0.0.3, the only ones of the private root. None of them answers, and the
// resolver is configured to wait for minutes.
class SilentNameServers {
  public:
    SilentNameServers();
    SilentNameServers(const SilentNameServers&) = delete;
    SilentNameServers& operator=(const SilentNameServers&) = delete;
    ~SilentNameServers();

    // Returns whether there was a query.
    [[nodiscard]] bool were_asked() const;

  private:
    std::vector<Descriptor> sockets_;
};
