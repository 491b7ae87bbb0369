// Exit statuses of the command that are not the status of the request.
#pragma once

// Exit status of the command when it fails itself and the status of the request is unknown.
inline constexpr int own_failure = 255;

// Replaces a status that cannot be an exit status or would look like a failure of the command itself.
inline constexpr int other_status = 252;

// The exit status with --strict when the request's status is 0 although something failed.
inline constexpr int strict_failure = 1;
