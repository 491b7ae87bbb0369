// The agent is compared with the program "best", so "best" has to do everything that another process can see.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <numeric>
#include <regex>
#include <sstream>

#include "benchmarks/requests.h"
#include "benchmarks/sample_product.h"
#include "tests/support/private_root.h"

namespace fs = std::filesystem;

namespace {

// What differs from run to run: times, processes, the free space, and the names of temporary folders.
std::string without_varying_parts(const std::string& text) {
    static const std::pair<std::regex, std::string> parts[] = {
        {std::regex(R"(\d\d:\d\d:\d\d\.\d\d\d \[\d+\])"), "TIME [PID]"},
        {std::regex(R"(PID=\d+)"), "PID=N"},
        {std::regex(R"(H=127\.0\.0\.1 P=\d+)"), "H=127.0.0.1 P=N"},
        {std::regex(R"(_SPACE=\d+)"), "_SPACE=N"},
        {std::regex(R"(zmla-\d{29}-[a-z0-9]{6})"), "TEMPORARY"},
        {std::regex(R"(L=\d+, \d+|#1: \d+ of \d+)"), "LENGTH"}};
    std::string result = text;
    for (const auto& [pattern, replacement] : parts) {
        result = std::regex_replace(result, pattern, replacement);
    }
    return result;
}

// Each file with its mode and text; the debug log is compared as lines.
std::map<std::string, std::string> read_tree() {
    std::map<std::string, std::string> files;
    for (const char* root : {"/usr/kumel", "/tmp"}) {
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            const std::string path = without_varying_parts(entry.path());
            if (entry.is_regular_file() && path.find("/log.") == std::string::npos) {
                const auto mode = static_cast<unsigned>(entry.status().permissions());
                files[path] = std::to_string(mode) + " " + read_sample_file(entry.path());
            } else if (entry.is_directory()) {
                files[path] = "folder";
            }
        }
    }
    return files;
}

// In the order of the text: a tool's start is logged by two processes at once.
std::string read_log() {
    std::vector<std::string> lines;
    for (const auto& log : fs::directory_iterator("/usr/kumel/zembrath/logs/zmlogadmagent")) {
        std::istringstream text(without_varying_parts(read_sample_file(log.path())));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
    }
    std::sort(lines.begin(), lines.end());
    return std::accumulate(lines.begin(), lines.end(), std::string(),
                           [](const std::string& text, const std::string& line) { return text + line + "\n"; });
}

struct Effects {
    std::string answer;
    std::string log;
    std::map<std::string, std::string> tree;
};

Effects run_and_look(const std::string& file, const MeasuredRequest& request) {
    request.prepare();
    empty_debug_log();
    const ProgramRun run = run_program(program_for(file, request));
    EXPECT_EQ(run.exit_status, 0) << file << " of " << request.name;
    request.check(run);
    return {.answer = without_varying_parts(run.answer), .log = read_log(), .tree = read_tree()};
}

std::vector<MeasuredRequest> all_requests() {
    return {disk_space_request(),        over_tcp(disk_space_request()), volume_manager_request(200),
            fourteen_categories(),       thirteen_categories(),          listing_request(20),
            clean_up_request("/tmp", 20)};
}

}  // namespace

TEST(BestProgram, HasTheAnswersLogLinesAndFilesOfTheAgent) {
    make_sample_product({.idle = IDLE_TOOL_FILE, .listed = LISTED_TOOL_FILE});
    for (const MeasuredRequest& request : all_requests()) {
        const Effects agent = run_and_look(AGENT_FILE, request);
        const Effects best = run_and_look(BEST_FILE, request);
        EXPECT_EQ(best.answer, agent.answer) << request.name;
        EXPECT_EQ(best.log, agent.log) << request.name;
        EXPECT_EQ(best.tree, agent.tree) << request.name;
    }
}
