#include "benchmarks/paired_runs.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

double run_once(const Contender& contender) {
    const ProgramRun run = run_unchecked(contender);
    if (run.exit_status != 0) {
        throw std::runtime_error(contender.name + " ended with " + std::to_string(run.exit_status) + ": " + run.answer);
    }
    contender.check(run);
    return run.seconds;
}

}  // namespace

ProgramRun run_unchecked(const Contender& contender) {
    contender.prepare();
    return run_program(contender.program);
}

// By order statistics: how many of n values lie below the true median is binomial, whatever their distribution.
Ratio median_with_range(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t count = values.size();
    const double middle = static_cast<double>(count) / 2;
    const double reach = 1.96 * std::sqrt(static_cast<double>(count)) / 2;
    const auto low = static_cast<std::size_t>(std::max(0.0, std::floor(middle - reach)));
    const std::size_t high = std::min(count - 1, static_cast<std::size_t>(std::ceil(middle + reach)));
    return {.median = (values[(count - 1) / 2] + values[count / 2]) / 2, .low = values[low], .high = values[high]};
}

PairedResult run_paired(const Contender& first, const Contender& second, int rounds) {
    run_once(first);
    run_once(second);
    std::vector<double> first_seconds;
    std::vector<double> second_seconds;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        if (round % 2 == 0) {
            first_seconds.push_back(run_once(first));
            second_seconds.push_back(run_once(second));
        } else {
            second_seconds.push_back(run_once(second));
            first_seconds.push_back(run_once(first));
        }
        ratios.push_back(first_seconds.back() / second_seconds.back());
    }
    return {.first_seconds = median_with_range(first_seconds).median,
            .second_seconds = median_with_range(second_seconds).median,
            .ratio = median_with_range(ratios),
            .rounds = rounds};
}
