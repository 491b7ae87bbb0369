// What fuzzing has found, and the inputs that it starts from, in every build.
#include "tests/fuzz/replay.h"

#include <gtest/gtest.h>

extern "C" Harness fuzz_framing, fuzz_key_value_file, fuzz_main_configuration, fuzz_unified_logging, fuzz_host_list,
    fuzz_answer, fuzz_spelling, fuzz_text_helpers;

TEST(FuzzingCorpus, OfFramingBreaksNoInvariant) {
    EXPECT_GT(replay("framing", fuzz_framing), 0U);
}

TEST(FuzzingCorpus, OfTheKeyValueFileBreaksNoInvariant) {
    EXPECT_GT(replay("key_value_file", fuzz_key_value_file), 0U);
}

TEST(FuzzingCorpus, OfTheMainConfigurationBreaksNoInvariant) {
    EXPECT_GT(replay("main_configuration", fuzz_main_configuration), 0U);
}

TEST(FuzzingCorpus, OfUnifiedLoggingBreaksNoInvariant) {
    EXPECT_GT(replay("unified_logging", fuzz_unified_logging), 0U);
}

TEST(FuzzingCorpus, OfTheHostListBreaksNoInvariant) {
    EXPECT_GT(replay("host_list", fuzz_host_list), 0U);
}

TEST(FuzzingCorpus, OfAnswersBreaksNoInvariant) {
    EXPECT_GT(replay("answer", fuzz_answer), 0U);
}

TEST(FuzzingCorpus, OfSpellingBreaksNoInvariant) {
    EXPECT_GT(replay("spelling", fuzz_spelling), 0U);
}

TEST(FuzzingCorpus, OfTextHelpersBreaksNoInvariant) {
    EXPECT_GT(replay("text_helpers", fuzz_text_helpers), 0U);
}
