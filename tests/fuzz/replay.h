// Replays the corpus of a harness.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" {
using Harness = int(const std::uint8_t* data, std::size_t size);
}

// Runs the harness with every input of its corpus, in the order of their names. A broken invariant ends the process and
// prints the name of the input. Returns the number of inputs.
std::size_t replay(const std::string& name, Harness* harness);
