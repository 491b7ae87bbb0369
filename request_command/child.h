// Describes how a child process ended.
#pragma once

#include <string>

// Returns a wait status in words: "ended with exit status 3", "was killed by signal 9 (Killed)".
std::string describe_end(int wait_status);
