// The status codes of a request. A status is the number in the "EXIT STATUS" line and the exit status of the process;
// getECmsg has its text.
#pragma once

namespace status {

inline constexpr int success = 0;
// A listed entry, a log root or an action word that could not be used.
inline constexpr int failure = 1;
inline constexpr int peer_closed = 23;
inline constexpr int tool_killed = 27;
// Also the exit status of the child that could not execute the tool.
inline constexpr int tool_not_executed = 29;
inline constexpr int peer_not_root = 135;
inline constexpr int socket_not_nonblocking = 602;
inline constexpr int peer_not_a_server = 5762;
inline constexpr int request_not_received = 5763;
inline constexpr int command_not_valid = 5764;
inline constexpr int fork_failed = 5766;
inline constexpr int wait_failed = 5769;
inline constexpr int ktul_not_loaded = 5772;
inline constexpr int directory_failed = 5784;
inline constexpr int output_not_sent = 5796;
inline constexpr int parameter_not_set = 5803;
// The registry of the deduplication installation could not be opened.
inline constexpr int registry_not_opened = parameter_not_set;
inline constexpr int parameter_not_unset = 5804;
inline constexpr int registry_without_file = 5806;
inline constexpr int kob_arguments_not_valid = 5809;
inline constexpr int collection_directory_not_created = 5811;
inline constexpr int cleanup_refused = 5820;
inline constexpr int logging_argument_not_valid = 5822;

}  // namespace status
