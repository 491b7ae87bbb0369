// A name server on this host.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/posix.h"
#include "tests/platform/child_process.h"

// Makes the private root's only name server, 127.0.0.1, answer. It knows the name of every address (always the same
// one) and the address of no name.
class NameServer {
  public:
    explicit NameServer(const std::string& name_of_every_address);

    // Ends it. Returns what was asked, as "address NAME" and "name NAME", each question once.
    std::vector<std::string> questions();

  private:
    Descriptor socket_;
    Descriptor told_;  // the questions, a line each
    std::unique_ptr<ChildProcess> process_;
};

// Makes three name servers, of 127.0.0.1, 127.0.0.2 and 127.0.0.3, the private root's only ones. None of them answers,
// and everybody who asks is to wait for minutes.
class SilentNameServers {
  public:
    SilentNameServers();
    SilentNameServers(const SilentNameServers&) = delete;
    SilentNameServers& operator=(const SilentNameServers&) = delete;
    ~SilentNameServers();

    // Tells whether somebody has asked.
    [[nodiscard]] bool were_asked() const;

  private:
    std::vector<Descriptor> sockets_;
};
