#pragma once

// Exit statuses.
namespace exit_status {
inline constexpr int nothing_differs = 0;
inline constexpr int differs = 1;
inline constexpr int not_read = 2;  // a file could not be read or was not saved; the others have been looked at
inline constexpr int failed = 255;  // the command line is not valid, or nothing could be done
}  // namespace exit_status
