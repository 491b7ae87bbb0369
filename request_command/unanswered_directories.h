// Finds the directories of a request for free space that were not answered.
#pragma once

#include <string>
#include <vector>

// An agent answers in the order of the request, with the directory that it measured: the requested one, without one "/"
// at its end, or its parent. It sends no line for a directory that it cannot measure. Returns the directories of
// `asked` that `measured` leaves out. Where the order does not show which these are, returns all candidates, which are
// more than the missing answers.
std::vector<std::string> unanswered_directories(const std::vector<std::string>& asked,
                                                const std::vector<std::string>& measured);
