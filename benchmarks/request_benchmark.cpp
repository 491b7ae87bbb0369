// request_benchmark: compares whole requests, from a program's start to its end, with other programs.
#include <getopt.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <nlohmann/json.hpp>
#include <string>

#include "benchmarks/comparisons.h"
#include "benchmarks/counted_run.h"
#include "benchmarks/requests.h"
#include "benchmarks/sample_product.h"
#include "tests/support/private_root.h"

namespace {

using nlohmann::ordered_json;

struct Options {
    int light_rounds = 1000;
    int heavy_rounds = 21;
    int heaviest_rounds = 9;
    bool only_counts = false;
    std::string only;
    std::string json_file;
    std::string package_agent;
};

constexpr const char* usage =
    "Usage: request_benchmark [OPTION ...]\n"
    "  --rounds N           rounds of a comparison that takes milliseconds (1000)\n"
    "  --heavy N            rounds of a comparison that takes tenths of a second (21)\n"
    "  --heaviest N         rounds of a comparison that takes seconds (9)\n"
    "  --only TEXT          only comparisons whose name holds the text\n"
    "  --package-agent FILE measure this agent too\n"
    "  --json FILE          write all figures there\n"
    "  --counts             print only what tests/costs records of the agent\n"
    "  --help\n";

int parse_count(const char* text) {
    char* end = nullptr;
    const long count = strtol(text, &end, 10);
    if (*end != '\0' || count < 1 || count > 1'000'000) {
        fprintf(stderr, "request_benchmark: %s is no number from 1 to 1000000\n", text);
        exit(2);
    }
    return static_cast<int>(count);
}

void set_option(int chosen, Options& options) {
    switch (chosen) {
        case 'r':
            options.light_rounds = parse_count(optarg);
            break;
        case 'y':
            options.heavy_rounds = parse_count(optarg);
            break;
        case 't':
            options.heaviest_rounds = parse_count(optarg);
            break;
        case 'o':
            options.only = optarg;
            break;
        case 'p':
            options.package_agent = optarg;
            break;
        case 'j':
            options.json_file = optarg;
            break;
        case 'c':
            options.only_counts = true;
            break;
        default:
            fputs(usage, chosen == 'h' ? stdout : stderr);
            exit(chosen == 'h' ? 0 : 2);
    }
}

Options parse_options(int argc, char** argv) {
    static const option known[] = {{"rounds", required_argument, nullptr, 'r'},
                                   {"heavy", required_argument, nullptr, 'y'},
                                   {"heaviest", required_argument, nullptr, 't'},
                                   {"only", required_argument, nullptr, 'o'},
                                   {"package-agent", required_argument, nullptr, 'p'},
                                   {"json", required_argument, nullptr, 'j'},
                                   {"counts", no_argument, nullptr, 'c'},
                                   {"help", no_argument, nullptr, 'h'},
                                   {nullptr, 0, nullptr, 0}};
    Options options;
    for (int chosen = 0; (chosen = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        set_option(chosen, options);
    }
    return options;
}

int rounds_of(Weight weight, const Options& options) {
    switch (weight) {
        case Weight::light:
            return options.light_rounds;
        case Weight::heavy:
            return options.heavy_rounds;
        default:
            return options.heaviest_rounds;
    }
}

RunCounts count_contender(const Contender& contender) {
    empty_debug_log();
    contender.prepare();
    RunCounts counts = count_run(contender.program);
    check_run(contender, counts.run);
    return counts;
}

ordered_json describe_range(const Range& range) {
    return {{"median", range.median}, {"low", range.low}, {"high", range.high}};
}

ordered_json measure(const Comparison& comparison, int rounds) {
    const std::vector<std::vector<double>> seconds = run_interleaved(comparison.contenders, rounds);
    ordered_json result = {{"request", comparison.what}, {"rounds", rounds}, {"contenders", ordered_json::array()}};
    if (!comparison.unit.empty()) {
        result["unit"] = comparison.unit;
        result["size"] = comparison.size;
    }
    for (std::size_t i = 0; i < seconds.size(); ++i) {
        const Contender& contender = comparison.contenders[i];
        ordered_json figures = {{"name", contender.name},
                                {"seconds", median_with_range(seconds[i]).median},
                                {"agent_ratio", describe_range(ratio_of(seconds[0], seconds[i]))}};
        // Tracing a run of the heaviest would take minutes.
        if (comparison.weight != Weight::heaviest) {
            const RunCounts counts = count_contender(contender);
            figures["system_calls"] = counts.system_calls;
            figures["page_faults"] = counts.page_faults;
            figures["peak_kib"] = counts.peak_kib;
        }
        result["contenders"].push_back(figures);
    }
    return result;
}

void print_comparison(const ordered_json& measured) {
    printf("%s\n", measured["request"].get<std::string>().c_str());
    for (const ordered_json& contender : measured["contenders"]) {
        const ordered_json& ratio = contender["agent_ratio"];
        printf("  %-16s %12.0f us   agent / it %7.3f (%.3f to %.3f)", contender["name"].get<std::string>().c_str(),
               contender["seconds"].get<double>() * 1e6, ratio["median"].get<double>(), ratio["low"].get<double>(),
               ratio["high"].get<double>());
        if (contender.contains("system_calls")) {
            printf("  %6ld calls %5ld faults %6ld KiB", contender["system_calls"].get<long>(),
                   contender["page_faults"].get<long>(), contender["peak_kib"].get<long>());
        }
        printf("\n");
    }
    fflush(stdout);
}

// Called after each comparison, so that an interrupted run leaves its results.
void write_json(const std::string& file, const ordered_json& results) {
    if (file.empty()) {
        return;
    }
    write_sample_file(inside_path(file), results.dump(2) + "\n");
}

Surroundings find_surroundings(const Options& options) {
    const std::string disk = inside_path(DISK_FOLDER);
    return {.package_agent = options.package_agent, .disk_folder = access(disk.c_str(), W_OK) == 0 ? disk : ""};
}

void run(const Options& options) {
    ordered_json results = ordered_json::array();
    for (const Comparison& comparison : make_comparisons(find_surroundings(options))) {
        if (comparison.what.find(options.only) != std::string::npos) {
            results.push_back(measure(comparison, rounds_of(comparison.weight, options)));
            print_comparison(results.back());
            write_json(options.json_file, results);
        }
    }
}

void print_counts() {
    for (const MeasuredRequest& request : counted_requests()) {
        const RunCounts counts = count_request(AGENT_FILE, request);
        printf("    {\"%s\", %ld, %ld},\n", request.name.c_str(), counts.system_calls, counts.page_faults);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse_options(argc, argv);
    try {
        enter_private_root();
        make_sample_product({.idle = IDLE_TOOL_FILE, .listed = LISTED_TOOL_FILE});
        if (options.only_counts) {
            print_counts();
        } else {
            run(options);
        }
    } catch (const std::exception& failure) {
        fprintf(stderr, "request_benchmark: %s\n", failure.what());
        return 1;
    }
    return 0;
}
