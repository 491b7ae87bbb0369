// Prints the settings that are in force.
#pragma once

#include <string>
#include <vector>

struct ShowOptions {
    std::vector<std::string> categories;  // none: all
    bool all = false;                     // also what is known and not set
    bool json = false;
};

// Returns the exit status.
int show(const ShowOptions& options);
