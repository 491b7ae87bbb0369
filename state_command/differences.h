// The differences between a saved state and the present one.
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
    std::vector<LogDirectory> made;  // log directories made since the save; a directory comes before those in it
    std::vector<LogDirectory> gone;  // since the save
    // Files and folders that could not be read, now or at the save. Their differences are not known.
    Problems problems;

    [[nodiscard]] bool empty() const { return files.empty() && made.empty() && gone.empty(); }
};

// Compares the saved state with the present state of this host.
[[nodiscard]] Differences find_differences(const ProductState& saved);

// Returns a phrase for each thing that differs, such as "mode 0640, now 0644". The phrase for the text is "content".
[[nodiscard]] std::vector<std::string> describe(const FileDifference& difference);

// Prints the differences from the saved state, and returns the exit status.
int print_differences(const ProductState& saved);
