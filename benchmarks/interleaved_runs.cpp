#include "benchmarks/interleaved_runs.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "benchmarks/sample_product.h"

namespace {

double run_once(const Contender& contender) {
    empty_debug_log();
    contender.prepare();
    const ProgramRun run = run_program(contender.program);
    check_run(contender, run);
    return run.seconds;
}

}  // namespace

void check_run(const Contender& contender, const ProgramRun& run) {
    if (run.exit_status != 0) {
        throw std::runtime_error(contender.name + " ended with " + std::to_string(run.exit_status) + ": " +
                                 run.answer.substr(0, 1000));
    }
    contender.check(run);
}

std::vector<std::vector<double>> run_interleaved(const std::vector<Contender>& contenders, int rounds) {
    std::vector<std::vector<double>> seconds(contenders.size());
    for (const Contender& contender : contenders) {
        run_once(contender);
    }
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            const std::size_t turn = (i + static_cast<std::size_t>(round)) % contenders.size();
            seconds[turn].push_back(run_once(contenders[turn]));
        }
    }
    return seconds;
}

// By order statistics: the number of values below the true median is binomial for every distribution of the values.
Range median_with_range(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t count = values.size();
    const double middle = static_cast<double>(count) / 2;
    const double reach = 1.96 * std::sqrt(static_cast<double>(count)) / 2;
    const auto low = static_cast<std::size_t>(std::max(0.0, std::floor(middle - reach)));
    const std::size_t high = std::min(count - 1, static_cast<std::size_t>(std::ceil(middle + reach)));
    return {.median = (values[(count - 1) / 2] + values[count / 2]) / 2, .low = values[low], .high = values[high]};
}

Range ratio_of(const std::vector<double>& first, const std::vector<double>& second) {
    std::vector<double> ratios;
    std::transform(first.begin(), first.end(), second.begin(), std::back_inserter(ratios), std::divides<>());
    return median_with_range(ratios);
}
