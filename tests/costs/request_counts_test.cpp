// Counts the system calls and page faults of each request; they are the same on a busy and on a quiet machine.
//
// Renew the table after a change that is worth its costs or saves some, and for a kernel or a C library with other
// counts: replace the rows by the output of
//
//     build/release/benchmarks/request_benchmark --counts
//
// and format them with clang-format.
#include <gtest/gtest.h>

#include "benchmarks/counted_run.h"
#include "benchmarks/requests.h"
#include "benchmarks/sample_product.h"

namespace {

struct Costs {
    const char* request;
    long system_calls;
    long page_faults;
};

// Of Linux 6.18 on x86-64 and the C library of Debian 12.
const Costs recorded[] = {
    {"GETDISKSPACE", 72, 28},         {"GETDISKSPACE, over TCP", 72, 29},
    {"VMCONF, 200 lines", 280, 32},   {"thirteen categories, without KOB", 519, 32},
    {"fourteen categories", 663, 34}, {"RUNZMSU, listing 100 files", 409, 46},
    {"CLEANUP, 100 files", 186, 30},
};

constexpr long tolerated_percent = 10;

void expect_not_more(const std::string& what, long counted, long before) {
    EXPECT_LE(counted * 100, before * (100 + tolerated_percent))
        << what << ": " << counted << " where there were " << before;
}

}  // namespace

TEST(RequestCounts, GrowByNoMoreThanATenth) {
    make_sample_product({.idle = IDLE_TOOL_FILE, .listed = LISTED_TOOL_FILE});
    const std::vector<MeasuredRequest> requests = counted_requests();
    ASSERT_EQ(requests.size(), std::size(recorded));
    for (std::size_t i = 0; i < requests.size(); ++i) {
        ASSERT_EQ(requests[i].name, recorded[i].request);
        const RunCounts counts = count_request(AGENT_FILE, requests[i]);
        expect_not_more("system calls of " + requests[i].name, counts.system_calls, recorded[i].system_calls);
        expect_not_more("page faults of " + requests[i].name, counts.page_faults, recorded[i].page_faults);
    }
}
