// The comparisons: which programs are measured together.
#pragma once

#include <string>
#include <vector>

#include "benchmarks/interleaved_runs.h"

// How often a comparison is repeated: a light one takes milliseconds a round, a heavy one tenths of a second, and the
// heaviest up to seconds.
enum class Weight { light, heavy, heaviest };

struct Comparison {
    std::string what;
    // The first one is the agent, which is compared with each of the others.
    std::vector<Contender> contenders;
    Weight weight = Weight::light;
    // The unit of the request's size, "lines" or "files", and the size; empty for a request without a size.
    std::string unit = {};
    int size = 0;
};

// The package's agent, which is not built with the benchmark, and a folder on a disk; empty for none.
struct Surroundings {
    std::string package_agent;
    std::string disk_folder;
};

// Needs the sample product, in a private root.
[[nodiscard]] std::vector<Comparison> make_comparisons(const Surroundings& surroundings);
