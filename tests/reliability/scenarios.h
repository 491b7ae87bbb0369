// Requests of every kind, each with its own product installation and the files that it changes.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/agent_runner.h"
#include "tests/support/connected_sockets.h"

// The rules for changing a path.
enum class Rules {
    safe_rewrite,  // the file is whole after any fault, with its mode
    key_value,     // the agent ignores errors of reading and writing
    made,          // the request makes or removes it: a folder, or a file of a tool
};

struct ChangedPath {
    std::string path;
    Rules rules = Rules::key_value;
    // The text before the request. With Rules::made, "" means that the path is missing.
    std::string before = {};
    // What the answer says if, and only if, the request has made the change.
    std::string claim = {};
    // Whether the request edits the file twice, so that only the second edit can fail.
    bool in_two_steps = false;
};

struct Scenario {
    // A name in CamelCase.
    std::string name;
    Request request = {};
    std::vector<ChangedPath> changes = {};
    // Any further preparation, on top of a fresh product tree and the files of `changes`.
    std::function<void()> prepare = [] {};
    std::function<ConnectedSockets()> connect = connect_locally;
    // Sent instead of the request, unless empty.
    std::string bytes = {};
};

std::ostream& operator<<(std::ostream& out, const Scenario& scenario);

// Returns scenarios for every logging category, every other request word, every tool, and every way to answer a peer.
[[nodiscard]] const std::vector<Scenario>& scenarios();

// Replaces the product installation by the one of the scenario.
void set_up(const Scenario& scenario);

// Returns a connection whose peer has sent the request.
[[nodiscard]] ConnectedSockets connect_and_ask(const Scenario& scenario);
