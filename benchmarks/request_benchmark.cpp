// request_benchmark: what whole requests cost, from the agent's start to its end, in ratios to other programs.
#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "benchmarks/comparisons.h"
#include "benchmarks/paired_runs.h"
#include "benchmarks/program_run.h"
#include "tests/support/private_root.h"

namespace {

struct Options {
    int light_rounds = 1000;
    int heavy_rounds = 21;
    int heaviest_rounds = 5;
    int patience_seconds = 60;
    std::string only;
};

constexpr const char* usage =
    "Usage: request_benchmark [OPTION ...]\n"
    "  --rounds N     rounds of a comparison that takes milliseconds (1000)\n"
    "  --heavy N      rounds of a comparison that takes a tenth of a second (21)\n"
    "  --heaviest N   rounds of a comparison that takes seconds (5)\n"
    "  --patience N   seconds for augtool to change a file of 1,000,000 lines (60)\n"
    "  --only TEXT    only comparisons whose name holds the text\n"
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

Options parse_options(int argc, char** argv) {
    static const option known[] = {
        {"rounds", required_argument, nullptr, 'r'},   {"heavy", required_argument, nullptr, 'y'},
        {"heaviest", required_argument, nullptr, 't'}, {"patience", required_argument, nullptr, 'p'},
        {"heaviest", required_argument, nullptr, 't'}, {"only", required_argument, nullptr, 'o'},
        {"help", no_argument, nullptr, 'h'},           {nullptr, 0, nullptr, 0}};
    Options options;
    for (int chosen = 0; (chosen = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
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
            case 'p':
                options.patience_seconds = parse_count(optarg);
                break;
            case 'o':
                options.only = optarg;
                break;
            default:
                fputs(usage, chosen == 'h' ? stdout : stderr);
                exit(chosen == 'h' ? 0 : 2);
        }
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

std::string time_text(double seconds) {
    char text[32];
    if (seconds < 0.01) {
        snprintf(text, sizeof text, "%.0f us", seconds * 1e6);
    } else {
        snprintf(text, sizeof text, "%.0f ms", seconds * 1e3);
    }
    return text;
}

void print_heading() {
    printf("%-34s %-12s %9s %9s %7s  %-15s %7s  %s\n", "request", "against", "agent", "other", "ratio", "95 % range",
           "target", "");
}

void print_comparison(const Comparison& comparison, const PairedResult& result) {
    const double work = comparison.more_work;
    const double ratio = result.ratio.median / work;
    char range[32];
    snprintf(range, sizeof range, "%.3f to %.3f", result.ratio.low / work, result.ratio.high / work);
    printf("%-34s %-12s %9s %9s %7.3f  %-15s ", comparison.what.c_str(),
           work == 1 ? comparison.reference.name.c_str() : "1/10 of it", time_text(result.first_seconds).c_str(),
           time_text(result.second_seconds).c_str(), ratio, range);
    if (comparison.target) {
        printf("%7.2f  %s\n", *comparison.target, ratio <= *comparison.target ? "met" : "missed");
    } else {
        printf("%7s\n", "-");
    }
    fflush(stdout);
}

// One round alone: augtool may take hours.
void print_augtool_on_million_lines(int patience) {
    constexpr int lines = 1'000'000;
    const double agent = run_unchecked(verbose_by_agent(lines)).seconds;
    const ProgramRun augtool = run_unchecked(verbose_by_augtool(lines, patience));
    const bool ended = augtool.exit_status != given_up;
    printf("%-34s %-12s %9s %8s%s %6s%.3f  %s\n", "VMCONF, 1,000,000 lines", "augtool", time_text(agent).c_str(),
           ended ? "" : ">", time_text(augtool.seconds).c_str(), ended ? "" : "<", agent / augtool.seconds,
           ended ? "one round" : "augtool was given up");
}

void print_memory() {
    constexpr long most_more_kib = 1000;
    const long agent = measure_peak_memory(disk_space_by_agent());
    const long floor = measure_peak_memory(disk_space_by_floor());
    printf("\nPeak memory of GETDISKSPACE: agent %ld KiB, floor %ld KiB, difference %ld KiB (target: below %ld): %s\n",
           agent, floor, agent - floor, most_more_kib, agent - floor < most_more_kib ? "met" : "missed");
}

void run(const Options& options) {
    print_heading();
    for (const Comparison& comparison : make_comparisons()) {
        if (comparison.what.find(options.only) == std::string::npos) {
            continue;
        }
        const int rounds = rounds_of(comparison.weight, options);
        print_comparison(comparison, run_paired(comparison.measured, comparison.reference, rounds));
    }
    if (std::string("augtool").find(options.only) != std::string::npos) {
        print_augtool_on_million_lines(options.patience_seconds);
    }
    print_memory();
    printf(
        "\nTimes are medians of whole requests: start, request, answer to its end, exit. The ratio is the median of\n"
        "the rounds' ratios; in each round both run once, in turn first. The floor is a static C program that does "
        "the\n"
        "least that a GETDISKSPACE request needs (benchmarks/floor.c); all kinds of request are held against that "
        "one.\n"
        "Floor + file and floor + tool are the same program when it makes the change in the 200 lines, and when it "
        "runs\n"
        "the connection broker's tool through the shell. That tool is a stand-in that does nothing. The categories'\n"
        "files have 20 to 40 lines. Files are in memory (tmpfs) but for \"on disk\".\n");
    if (disk_folder().empty()) {
        printf("Nothing was measured on disk: the build folder cannot be written.\n");
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse_options(argc, argv);
    try {
        enter_private_root();
        run(options);
    } catch (const std::exception& failure) {
        fprintf(stderr, "request_benchmark: %s\n", failure.what());
        return 1;
    }
    return 0;
}
