// Two programs measured against each other, run by run in turn, so that what disturbs the machine disturbs both.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "benchmarks/program_run.h"

// A program and what is to be done around each of its runs; neither is measured. `check` throws when the run did not
// do what it was to do: what failed is not to look fast.
struct Contender {
    std::string name;
    Program program;
    std::function<void()> prepare = [] {};
    std::function<void(const ProgramRun&)> check = [](const ProgramRun&) {};
};

struct Ratio {
    double median = 0;
    // The range that holds the true median with a confidence of 95 % at least, as far as so few rounds allow.
    double low = 0;
    double high = 0;
};

struct PairedResult {
    // Medians, in seconds.
    double first_seconds = 0;
    double second_seconds = 0;
    // First to second: the median of each round's ratio.
    Ratio ratio;
    int rounds = 0;
};

// Runs the contender once and returns what came of it, whatever its exit status.
[[nodiscard]] ProgramRun run_unchecked(const Contender& contender);

// Runs both once unmeasured and then in `rounds` rounds, each in turn beginning a round.
[[nodiscard]] PairedResult run_paired(const Contender& first, const Contender& second, int rounds);

// Returns the median of the values, which are not empty, and its range.
[[nodiscard]] Ratio median_with_range(std::vector<double> values);
