// Restores a saved state.
#pragma once

#include <string>

#include "state_command/product_state.h"

struct RestoreOptions {
    bool remove_logs = false;  // remove log directories made since the save even when they are not empty
};

// Restores everything that differs. Prints what it did and, on standard error, what failed. Returns the exit status.
int restore(const ProductState& saved, const RestoreOptions& options);
