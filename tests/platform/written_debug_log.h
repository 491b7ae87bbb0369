// What the platform library writes into its debug log.
#pragma once

#include <functional>
#include <string>
#include <string_view>

// Opens a debug log in a child process, does the work there and returns the text of the log. The test fails when
// something fails in that process.
std::string debug_log_of(const std::function<void()>& work);

// Returns the only line of the log, without its newline and what precedes the level. The test fails when the log is
// anything else.
std::string message_of(const std::string& log);

// Combines debug_log_of and message_of.
std::string logged_message(const std::function<void()>& work);
