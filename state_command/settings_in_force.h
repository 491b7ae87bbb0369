// The present values of the settings that logging requests change.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "state_command/output.h"

struct Setting {
    std::string category;
    std::string name;
    std::optional<std::string> value;  // nothing when it is not set
    std::string file;
    // The argument of a logging request that sets this setting, maybe with others of its category; empty where there is
    // none.
    std::string request = {};
    bool is_known = true;  // false when only the component itself knows the value
};

// Returns whether there is a category of this name.
[[nodiscard]] bool is_category(std::string_view name);

// Returns the settings of the named categories, or of all when none are named, in the order of the categories' table.
// Includes known settings that are not set.
[[nodiscard]] std::vector<Setting> read_settings(const std::vector<std::string>& wanted, Problems& problems);
