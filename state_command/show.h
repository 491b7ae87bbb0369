// Prints the settings that are active.
#pragma once

#include <string>
#include <vector>

struct ShowOptions {
    std::vector<std::string> categories;  // all when none are named
    bool all = false;                     // also print settings that are known and not set
    bool json = false;
};

// Prints the settings and returns the exit status. Throws a Failure for a category that does not exist.
int show(const ShowOptions& options);
