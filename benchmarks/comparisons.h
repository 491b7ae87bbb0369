// What is measured beside what.
#pragma once

#include <string>
#include <vector>

#include "benchmarks/interleaved_runs.h"

// How often a comparison is repeated: a light one takes milliseconds a round, a heavy one tenths of a second, and the
// heaviest up to seconds.
enum class Weight { light, heavy, heaviest };

struct Comparison {
    std::string what;
    // The first one is the agent, which is held against each of the others.
    std::vector<Contender> contenders;
    Weight weight = Weight::light;
    // What the request's size is counted in, "lines" or "files", and how many there are; empty where there is no size.
    std::string unit = {};
    int size = 0;
};

// Where the programs are that are not built with the benchmark, and where a disk is; empty for none.
struct Surroundings {
    std::string package_agent;
    std::string disk_folder;
};

// Make the sample product before, in a private root.
[[nodiscard]] std::vector<Comparison> make_comparisons(const Surroundings& surroundings);
