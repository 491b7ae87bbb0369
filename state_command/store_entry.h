// The entries of the unified logging store.
#pragma once

#include <optional>
#include <string_view>

#include "platform/product_files.h"

inline constexpr std::string_view debug_level = product_files::debug_level;
inline constexpr std::string_view diagnostic_level = product_files::diagnostic_level;

struct StoreEntry {
    std::string_view originator;
    std::string_view kind;  // debug_level or diagnostic_level
    std::string_view value;
};

// Returns the entry in a line of a store, or nothing for any other line.
[[nodiscard]] std::optional<StoreEntry> parse_store_line(std::string_view line);
