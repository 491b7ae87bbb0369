// Like replay_test.cpp, for the harness that uses the recording platform library.
#include <gtest/gtest.h>

#include "tests/fuzz/replay.h"

extern "C" Harness fuzz_request;

TEST(FuzzingCorpus, OfRequestsBreaksNoInvariant) {
    EXPECT_GT(replay("request", fuzz_request), 0U);
}
