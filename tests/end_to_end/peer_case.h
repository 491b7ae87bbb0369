// Peers that the agent accepts or rejects: the SERVER list, the peer's host and its user.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/agent_runner.h"

using Servers = std::vector<std::string>;

// Writes a main configuration that lists only these hosts.
void trust(const Servers& servers);

// Writes an /etc/hosts that names this host and the foreign one.
void name_hosts();

// A SERVER list and the agent's verdict on the peer.
struct PeerCase {
    // A sentence in CamelCase.
    std::string name;
    Servers servers;
    // The text of the log line about the peer.
    std::string seen;
    int status = 0;
};

std::ostream& operator<<(std::ostream& out, const PeerCase& peer);

// Expects the verdict and its log lines.
void check(const PeerCase& peer, const AgentRun& run);

// Expects that the agent sends only a status line, and logs the status.
void expect_rejected(const AgentRun& run, int status);

// What the log says about a local peer that is root.
inline constexpr const char* listed_root = "H=local P=0 U=root F=0x42 UT=2";
inline constexpr const char* unlisted_root = "H=local P=0 U=root F=0x40 UT=2";
