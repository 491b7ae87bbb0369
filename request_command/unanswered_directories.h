// Which directories of a request for free space were not answered.
#pragma once

#include <string>
#include <vector>

// An agent answers in the order of the request with the directory that it measured: the one asked for, without one "/"
// at its end, or its parent. It says nothing about a directory that it cannot measure. Returns those directories of
// `asked` that `measured` leaves out when the order shows which they are, else all that may be left out: more than
// there are too few answers.
std::vector<std::string> unanswered_directories(const std::vector<std::string>& asked,
                                                const std::vector<std::string>& measured);
