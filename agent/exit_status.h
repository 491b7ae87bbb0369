// Exit statuses of the process that are not the status of a request.
#pragma once

namespace exit_status {

// Start-up failures, before there is a log or a peer to report them to.
inline constexpr int stdout_not_redirected = 11;
inline constexpr int stderr_not_redirected = 12;
inline constexpr int socket_not_duplicated = 17;
inline constexpr int stdin_not_redirected = 18;
// Replaces every status that is too large for an exit status.
inline constexpr int too_large = 252;

}  // namespace exit_status
