#pragma once

#include <string>
#include <vector>

// The values of one category argument, as the peer sent them.
using Values = std::vector<std::string>;
