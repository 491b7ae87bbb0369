// Compares programs. They run in turn, so that a disturbance of the machine affects all of them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "benchmarks/program_run.h"

// A program, and unmeasured steps before and after each of its runs. `check` throws when the run failed, because a
// failed run may be fast.
struct Contender {
    std::string name;
    Program program;
    std::function<void()> prepare = [] {};
    std::function<void(const ProgramRun&)> check = [](const ProgramRun&) {};
};

struct Range {
    double median = 0;
    // The range of the true median with a confidence of at least 95 %, if there are enough rounds for that.
    double low = 0;
    double high = 0;
};

// Throws when the contender failed.
void check_run(const Contender& contender, const ProgramRun& run);

// Runs each contender once unmeasured and then once in each round. Another contender begins each round. Returns the
// seconds of each contender's rounds.
[[nodiscard]] std::vector<std::vector<double>> run_interleaved(const std::vector<Contender>& contenders, int rounds);

// Returns the median of the values, which are not empty, and its range.
[[nodiscard]] Range median_with_range(std::vector<double> values);

// Returns the median of the rounds' ratios, `first` to `second`, and its range.
[[nodiscard]] Range ratio_of(const std::vector<double>& first, const std::vector<double>& second);
