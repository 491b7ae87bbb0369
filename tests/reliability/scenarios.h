// Requests of every kind on a product installation of each one's own, with what they change.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/agent_runner.h"
#include "tests/support/connected_sockets.h"

// By whose rules a file is changed.
enum class Rules {
    safe_rewrite,  // whole whatever happens, with its mode
    key_value,     // errors of reading and writing are ignored
    made,          // made by the request, or removed: a folder, or what a tool leaves
};

struct ChangedPath {
    std::string path;
    Rules rules = Rules::key_value;
    // Before the request; of a path with Rules::made that begins as missing, nothing.
    std::string before = {};
    // What the answer says when, and only when, the change has been made.
    std::string claim = {};
    // Whether it is edited twice, so that the second edit can fail alone.
    bool in_two_steps = false;
};

struct Scenario {
    // In CamelCase.
    std::string name;
    Request request = {};
    std::vector<ChangedPath> changes = {};
    // Any further preparation, on top of a fresh product tree and the files of `changes`.
    std::function<void()> prepare = [] {};
    std::function<ConnectedSockets()> connect = connect_locally;
    // Sent in place of the request when there are any.
    std::string bytes = {};
};

std::ostream& operator<<(std::ostream& out, const Scenario& scenario);

// Every category of the logging requests, every other request word, every tool, and every way to answer a peer.
[[nodiscard]] const std::vector<Scenario>& scenarios();

// Makes the scenario's installation, and whatever was there before goes.
void set_up(const Scenario& scenario);

// Returns a connection whose peer has sent the scenario's request.
[[nodiscard]] ConnectedSockets connect_and_ask(const Scenario& scenario);
