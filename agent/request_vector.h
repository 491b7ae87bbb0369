#pragma once

#include <string>
#include <vector>

// The text arguments received from the peer; element 0 is the command word.
using RequestVector = std::vector<std::string>;
