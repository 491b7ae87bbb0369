// What is measured against what.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "benchmarks/paired_runs.h"

// How often a comparison is repeated: a light one takes milliseconds a round, a heavy one up to seconds.
enum class Weight { light, heavy, heaviest };

struct Comparison {
    std::string what;
    Contender measured;
    Contender reference;
    Weight weight = Weight::light;
    // The ratio of measured to reference that is not to be exceeded.
    std::optional<double> target = std::nullopt;
    // How much more work the measured one has: the ratio is divided by it.
    double more_work = 1;
};

// Makes the sample product. Call it in a private root.
[[nodiscard]] std::vector<Comparison> make_comparisons();

// The change of VMCONF in a file of so many lines, by the agent and by augtool. augtool's time grows with the square of
// the lines, so it is given up after some seconds; then its run ends with the status given_up.
inline constexpr int given_up = 124;
[[nodiscard]] Contender verbose_by_agent(int lines);
[[nodiscard]] Contender verbose_by_augtool(int lines, int patience_seconds);

// The agent and the floor with a request for free space, for the comparison of their memory.
[[nodiscard]] Program disk_space_by_agent();
[[nodiscard]] Program disk_space_by_floor();

// The folder for comparisons on a disk; empty when there is none that can be written.
[[nodiscard]] std::string disk_folder();
