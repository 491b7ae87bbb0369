// Replays the inputs that fuzzing starts from and those that it found, in every build.
#include "tests/fuzz/replay.h"

#include <gtest/gtest.h>

extern "C" Harness fuzz_framing, fuzz_key_value_file, fuzz_main_configuration, fuzz_unified_logging, fuzz_host_list,
    fuzz_answer, fuzz_spelling, fuzz_text_helpers;

namespace {

struct Corpus {
    const char* name;
    Harness* harness;
};

void PrintTo(const Corpus& corpus, std::ostream* stream) {
    *stream << corpus.name;
}

}  // namespace

class FuzzingCorpus : public testing::TestWithParam<Corpus> {};
INSTANTIATE_TEST_SUITE_P(Of, FuzzingCorpus,
                         testing::Values(Corpus{"framing", fuzz_framing}, Corpus{"key_value_file", fuzz_key_value_file},
                                         Corpus{"main_configuration", fuzz_main_configuration},
                                         Corpus{"unified_logging", fuzz_unified_logging},
                                         Corpus{"host_list", fuzz_host_list}, Corpus{"answer", fuzz_answer},
                                         Corpus{"spelling", fuzz_spelling}, Corpus{"text_helpers", fuzz_text_helpers}),
                         [](const testing::TestParamInfo<Corpus>& row) { return std::string(row.param.name); });

TEST_P(FuzzingCorpus, BreaksNoInvariant) {
    EXPECT_GT(replay(GetParam().name, GetParam().harness), 0U);
}
