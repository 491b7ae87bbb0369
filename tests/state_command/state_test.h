// A product installation with a file for every category, for tests of zmlogstate.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "tests/request_command/command_run.h"
#include "tests/support/product_tree.h"

// The visible state of a path.
struct NameState {
    std::string kind;  // "file", "link", "folder", "other"
    std::string text;  // of a file; the target of a link
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
    std::map<std::string, std::string> attributes;

    bool operator==(const NameState&) const = default;
};
std::ostream& operator<<(std::ostream& out, const NameState& state);

using Snapshot = std::map<std::string, NameState>;

// Returns everything below the folder except the agent's own log. take_snapshot also leaves out lock files.
[[nodiscard]] Snapshot take_whole_snapshot(const std::string& folder = "/usr/kumel");
[[nodiscard]] Snapshot take_snapshot(const std::string& folder = "/usr/kumel");

// The files that the requests below change.
inline const std::string store = "/usr/kumel/ktul/51216.conf";
inline const std::string registered_file = "/usr/kumel/lib/pd/agent.cfg";
inline const std::string plugin_file = "/usr/kumel/lib/stg-plugins/rk.conf";
inline const std::string volume_manager_file = "/usr/kumel/volmgr/vm.conf";
inline const std::string console_file = "/usr/kumel/java/Debug.properties";
inline const std::string authorization_file = "/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf";
inline const std::string storage_file = "/usr/kumel/lib/stg-plugins/wqf.conf";
inline const std::string container_file = "/usr/kumel/lib/stg-plugins/skyhold.conf";

// Returns a request that raises the logging of all categories.
[[nodiscard]] std::vector<std::string> raise_everything();

// Sends it to the real agent. The test fails unless every item succeeds.
void raise_all_logging();

// Returns a command line of the program.
[[nodiscard]] Arguments zmlogstate(const Arguments& arguments);

// Replaces any installation by a fresh one.
void make_installation();

class StateTest : public testing::Test {
  protected:
    StateTest() { make_installation(); }

    // Saves, and expects success.
    void save() const;

    const std::string folder_ = "/tmp/case";
};

// Gives the file to another user and group. In a user namespace with a single user there are none, and the file stays.
void give_away(const std::string& path);

// Makes this process one of another user without privileges.
void become_another_user();

// Expects the exit status, and no error messages unless the command failed.
void expect_status(const CommandRun& run, int status);

// Returns the lines of the text.
[[nodiscard]] std::vector<std::string> lines_of(const std::string& text);
