#include "state_command/store_entry.h"

#include <cstdint>
#include <string>

#include "platform/library/numbers.h"

std::optional<StoreEntry> parse_store_line(std::string_view line) {
    const std::size_t dot = line.find('.');
    const std::size_t equals = line.find('=');
    if (dot == std::string_view::npos || equals == std::string_view::npos || equals < dot) {
        return std::nullopt;
    }
    const StoreEntry entry = {line.substr(0, dot), line.substr(dot + 1, equals - dot - 1), line.substr(equals + 1)};
    std::uint32_t number = 0;
    const bool is_originator = platform_library::parse_number(entry.originator, number) == std::errc() &&
                               std::to_string(number) == entry.originator;
    const bool is_level = entry.kind == debug_level || entry.kind == diagnostic_level;
    return is_originator && is_level ? std::optional(entry) : std::nullopt;
}
