// How a saved state and the present one differ.
#pragma once

#include <string>
#include <vector>

#include "state_command/product_state.h"

struct FileDifference {
    std::string path;
    FileState saved;
    FileState now;
};

struct Differences {
    std::vector<FileDifference> files;
    std::vector<LogDirectory> made;  // log directories, since the save; a directory before those in it
    std::vector<LogDirectory> gone;
    // Files and folders that could not be read, now or at the save: nothing is known of their differences.
    Problems problems;

    [[nodiscard]] bool empty() const { return files.empty() && made.empty() && gone.empty(); }
};

// Compares with the present state of this host.
[[nodiscard]] Differences find_differences(const ProductState& saved);

// Says in short what differs, each in a phrase of its own, as "mode 0640, now 0644". The text is "content".
[[nodiscard]] std::vector<std::string> describe(const FileDifference& difference);

// Prints the differences from the state that was saved, and returns the exit status.
int print_differences(const ProductState& saved);
