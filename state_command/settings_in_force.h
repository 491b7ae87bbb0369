// The settings that a logging request can change, as they are now.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "state_command/output.h"

struct Setting {
    std::string category;
    std::string name;
    std::optional<std::string> value;  // none: not set
    std::string file;
    // The argument of a logging request that sets just this; empty where none does.
    std::string request = {};
    bool is_known = true;  // false: only the component itself knows
};

// Tells whether there is such a category.
[[nodiscard]] bool is_category(std::string_view name);

// Reads the settings of the categories, or of all when none are named, in the order of the categories' table. Those
// that are known and not set are among them.
[[nodiscard]] std::vector<Setting> read_settings(const std::vector<std::string>& wanted, Problems& problems);
