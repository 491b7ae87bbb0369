// Counts the system calls and page faults of one run of a program. Counts are the same on a busy and on a quiet
// machine.
#pragma once

#include "benchmarks/program_run.h"
#include "benchmarks/requests.h"

struct RunCounts {
    ProgramRun run;
    // Made by the program and by its children, until they execute other programs.
    long system_calls = 0;
    // Of the program only, from its first instruction to its end. None reads from a disk.
    long page_faults = 0;
    // The most memory in use at a time, in KiB, of the program only.
    long peak_kib = 0;
};

// Runs the program once, at fixed addresses, so that the counts are the same each time. The request has arrived when
// the program starts.
[[nodiscard]] RunCounts count_run(const Program& program);

// Counts the second of two runs of a request: the first one may make the log's folder and bring the program into
// memory.
[[nodiscard]] RunCounts count_request(const std::string& file, const MeasuredRequest& request);
