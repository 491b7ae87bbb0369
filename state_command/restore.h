// Puts a saved state back.
#pragma once

#include <string>

#include "state_command/product_state.h"

struct RestoreOptions {
    bool remove_logs = false;  // log directories made since go with what they hold
};

// Puts back what differs, says what it did and what it could not do, and returns the exit status.
int restore(const ProductState& saved, const RestoreOptions& options);
