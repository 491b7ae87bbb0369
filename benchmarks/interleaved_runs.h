// Programs measured against each other, run by run in turn, so that what disturbs the machine disturbs all of them.
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

struct Range {
    double median = 0;
    // What holds the true median with a confidence of 95 % at least, as far as so few rounds allow.
    double low = 0;
    double high = 0;
};

// Throws unless the contender did what it was to do.
void check_run(const Contender& contender, const ProgramRun& run);

// Runs each contender once unmeasured and then once a round, each in turn beginning a round. Returns the seconds of
// each contender's rounds.
[[nodiscard]] std::vector<std::vector<double>> run_interleaved(const std::vector<Contender>& contenders, int rounds);

// Returns the median of the values, which are not empty, and its range.
[[nodiscard]] Range median_with_range(std::vector<double> values);

// Returns the rounds' ratios of one contender's seconds to another's.
[[nodiscard]] Range ratio_of(const std::vector<double>& first, const std::vector<double>& second);
