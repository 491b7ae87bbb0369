// The measured requests: what the peer sends, what each needs before a run, and what shows that it was carried out.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "benchmarks/program_run.h"

struct MeasuredRequest {
    std::string name;
    std::vector<std::string> words;
    // Puts back what the last run changed.
    std::function<void()> prepare = [] {};
    // Throws when the run did not do what was asked: what failed is not to look fast.
    std::function<void(const ProgramRun&)> check;
    Transport transport = Transport::local;
    Reader reader = Reader::eager;
};

// A folder of a name that a clean-up accepts.
inline const std::string result_name = "zmla-12345678901234567890123456789-abcdef";

// All work on the sample product, which has been made.
[[nodiscard]] MeasuredRequest disk_space_request();
[[nodiscard]] MeasuredRequest volume_manager_request(int lines);
[[nodiscard]] MeasuredRequest fourteen_categories();
// Without the connection broker's, whose cost is that of a shell and a tool.
[[nodiscard]] MeasuredRequest thirteen_categories();
[[nodiscard]] MeasuredRequest listing_request(int files);
// Of the folder result_name below `parent`.
[[nodiscard]] MeasuredRequest clean_up_request(const std::string& parent, int files);
[[nodiscard]] MeasuredRequest over_tcp(MeasuredRequest request);
[[nodiscard]] MeasuredRequest to_slow_reader(MeasuredRequest request);

// Those whose system calls and page faults are recorded: none takes long, also when it is traced.
[[nodiscard]] std::vector<MeasuredRequest> counted_requests();

// Runs a copy of the file that lies in memory, whatever disk the file is on.
[[nodiscard]] Program program_for(const std::string& file, const MeasuredRequest& request);

// Throws unless the condition holds.
void require(bool condition, const std::string& what);
