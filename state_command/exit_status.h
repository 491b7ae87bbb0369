// The exit statuses of zmlogstate.
#pragma once

namespace exit_status {
inline constexpr int nothing_differs = 0;
inline constexpr int differs = 1;
inline constexpr int not_read = 2;  // a file could not be read or was not saved; the command has handled the others
inline constexpr int failed = 255;  // the command line is not valid, or the command could do nothing
}  // namespace exit_status
