// The corpus of a harness, run again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" {
using Harness = int(const std::uint8_t* data, std::size_t size);
}

// Runs the harness with every input of its corpus, in the order of their names. What does not hold for one ends the
// process and tells the input's name. Returns how many inputs there are.
std::size_t replay(const std::string& name, Harness* harness);
