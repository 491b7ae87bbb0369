// What the platform library writes into its debug log.
#pragma once

#include <functional>
#include <string>
#include <string_view>

// Opens a debug log in a process of its own, does the work there and returns what is in the log then. The test fails
// when something fails in that process.
std::string debug_log_of(const std::function<void()>& work);

// Returns the one line of the log without its newline and what is before the level; the test fails when the log is not
// one line of its form.
std::string message_of(const std::string& log);

// As debug_log_of and message_of together.
std::string logged_message(const std::function<void()>& work);
