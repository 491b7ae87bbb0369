// A product installation with a file for every category, on which zmlogstate is run.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "tests/request_command/command_run.h"
#include "tests/support/product_tree.h"

// What a name has, as a user sees it.
struct NameState {
    std::string kind;  // "file", "link", "folder", "other"
    std::string text;  // of a file; where a link leads
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
    std::map<std::string, std::string> attributes;

    bool operator==(const NameState&) const = default;
};
std::ostream& operator<<(std::ostream& out, const NameState& state);

using Snapshot = std::map<std::string, NameState>;

// Returns what there is below the folder, less the agent's own log; and without the locks of files.
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

// A request that raises the logging of all fourteen categories.
[[nodiscard]] std::vector<std::string> raise_everything();

// Sends it to the real agent; the test fails unless every item succeeds.
void raise_all_logging();

// The file of the program, and a command line of it.
[[nodiscard]] Arguments zmlogstate(const Arguments& arguments);

// Makes the installation, whatever was there before.
void make_installation();

class StateTest : public testing::Test {
  protected:
    StateTest() { make_installation(); }

    // Saves, and expects that all is saved.
    void save() const;

    const std::string folder_ = "/tmp/case";
};

// Makes the file another user's and another group's, as far as there are others: a user namespace of a single user
// knows no other, and then it is that user's before and after.
void give_away(const std::string& path);

// Makes a process one of another user, who has no rights.
void become_another_user();

// Expects that the run ends with the status, and complains of nothing unless that is its own failure.
void expect_status(const CommandRun& run, int status);

// Returns the lines of the text.
[[nodiscard]] std::vector<std::string> lines_of(const std::string& text);
