// The command line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "state_command/failure.h"

enum class Action { show, save, diff, restore, show_help, show_version };

struct Options {
    Action action = Action::show_help;
    std::vector<std::string> categories;  // for show
    std::string folder;                   // for save, diff and restore
    bool all = false;
    bool json = false;
    bool force = false;
    bool remove_logs = false;
};

// Parses the command line. Throws a Failure when it is not valid.
Options parse_options(int argc, char** argv);

// Returns whether the command line has --json, also when it is not valid.
bool wants_json(int argc, char** argv);

// Returns what --help prints.
std::string help_text();
