// Statuses of the library's own. No other part uses numbers in this range.
#pragma once

namespace platform_library::status {

inline constexpr int configuration_not_read = 5901;
inline constexpr int configuration_text_not_valid = 5902;
inline constexpr int peer_not_examined = 5903;
inline constexpr int logging_store_not_read = 5904;
inline constexpr int logging_level_not_valid = 5905;

// The status of a failed update of the main configuration is this number plus the error number. Statuses from 6144 on
// can also be wait statuses of the connection broker's tool.
inline constexpr int configuration_not_updated = 6000;
inline constexpr int last_configuration_not_updated = 6143;

}  // namespace platform_library::status
