// A platform library for tests: it returns what the script of the test says, and records its calls. calls() shows each
// as its name and arguments, with one blank between them.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/log_line.h"

namespace recording_platform {

// A message of the debug log with its format.
struct LoggedMessage {
    LogLine line;
    std::string format;
    // The numbers after the format, when the call passes its format as the tag.
    std::vector<int> numbers;
};

// The result of one framed read.
struct FramedRead {
    long long number = 0;  // what get_long returns
    std::string text;      // what get_string puts into the buffer
    int result = 1;        // what get_string returns
    int error_number = 0;  // stored when it is not 0
};

FramedRead framed_number(long long number);
FramedRead framed_text(const std::string& text);
FramedRead framed_failure(int result, int error_number);

struct OriginatorLevels {
    std::optional<int> debug;
    std::optional<int> diagnostic;
};

using Originator = std::pair<long, unsigned long>;  // product and originator

struct Script {
    // Runtime. A status N without an entry has the text "text of N".
    std::map<int, std::string> status_texts;
    int debug_log_descriptor = 9;
    short directory_creation_mode = 0755;
    int log_directory_result = 0;        // mklogdirpath: its result,
    int log_directory_error = 0;         // the error code that it stores,
    int log_directory_error_number = 0;  // and errno, when it is not 0
    std::string temporary_suffix = "-12345678901234567890123456789-abc123";

    // Network. By default the peer is root on a host of the SERVER list.
    int verification_fails = 0;
    std::uint32_t peer_flags = 0x42;
    std::uint32_t user_type = 2;
    std::function<void()> during_verification;
    int network_timeout = 300;  // one second more with every call
    std::deque<FramedRead> framed_reads;

    // Main configuration; each fault is the status that the operation returns.
    int configuration_unreadable = 0;
    int settings_refused = 0;
    int update_refused = 0;
    std::deque<int> next_global_verbosities;  // what the next fetches give, one each;
    int global_verbosity = 0;                 // then this

    // Unified logging; each fault is the status that the operation returns.
    std::map<Originator, OriginatorLevels> levels;
    std::set<Originator> unloadable_originators;
    int debug_level_not_set = 0;
    int diagnostic_level_not_set = 0;
    int settings_not_removed = 0;
    int levels_not_written = 0;
};

extern Script script;

// Resets the script, and forgets messages and calls.
void reset();

// The messages of this process, and those of the processes that it started, in order.
std::vector<LogLine> messages();
std::vector<LogLine> child_messages();
std::vector<LogLine> messages_under(const std::string& tag);
std::vector<LogLine> child_messages_under(const std::string& tag);
std::vector<LoggedMessage> messages_in_full();

// The calls of all processes: operations of this library, and recorded system calls.
std::vector<std::string> calls();
// The calls whose text begins so.
std::vector<std::string> calls_of(const std::string& beginning);

// Errors of callers: a handle that is not released, is released twice or is used after its release, or a record that is
// not filled with zeros. Empty when the caller made none.
std::vector<std::string> misuses();

}  // namespace recording_platform
