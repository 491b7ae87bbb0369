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
