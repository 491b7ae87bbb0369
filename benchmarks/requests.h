// The measured requests: what the peer sends, what each needs before a run, and what shows that it was carried out.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "benchmarks/program_run.h"

struct MeasuredRequest {
    std::string name;
    std::vector<std::string> words;
    // Restores what the last run changed.
    std::function<void()> prepare = [] {};
    // Throws when the run failed, because a failed run may be fast.
    std::function<void(const ProgramRun&)> check;
    Transport transport = Transport::local;
    Reader reader = Reader::eager;
};

// A folder of a name that a clean-up accepts.
inline const std::string result_name = "zmla-12345678901234567890123456789-abcdef";

// All requests need the sample product.
[[nodiscard]] MeasuredRequest disk_space_request();
[[nodiscard]] MeasuredRequest volume_manager_request(int lines);
[[nodiscard]] MeasuredRequest fourteen_categories();
// Without the connection broker's category, which mainly costs a shell and a tool.
[[nodiscard]] MeasuredRequest thirteen_categories();
[[nodiscard]] MeasuredRequest listing_request(int files);
// Of the folder result_name below `parent`.
[[nodiscard]] MeasuredRequest clean_up_request(const std::string& parent, int files);
[[nodiscard]] MeasuredRequest over_tcp(MeasuredRequest request);
[[nodiscard]] MeasuredRequest to_slow_reader(MeasuredRequest request);

// The requests with recorded system calls and page faults. None takes long, even when it is traced.
[[nodiscard]] std::vector<MeasuredRequest> counted_requests();

// Returns a program that runs a copy of the file in memory, independent of the disk with the file.
[[nodiscard]] Program program_for(const std::string& file, const MeasuredRequest& request);

// Throws unless the condition holds.
void require(bool condition, const std::string& what);
