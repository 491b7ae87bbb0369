#include "tests/fuzz/replay.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "tests/fuzz/invariant.h"
#include "tests/fuzz/scratch_file.h"
#include "tests/support/private_root.h"

std::size_t replay(const std::string& name, Harness* harness) {
    const std::string folder = inside_path(ZMLA_CORPUS_FOLDER) + "/" + name;
    std::vector<std::string> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
    for (const std::string& input : inputs) {
        const std::string bytes = fuzzing::load(input);
        // A copy of exactly this size, so that a sanitizer sees a read beyond its end.
        const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
        fuzzing::input_name = input.c_str();
        harness(data.data(), data.size());
    }
    fuzzing::input_name = nullptr;
    return inputs.size();
}
