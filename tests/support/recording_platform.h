// A platform library for tests, in the place of the real one: it answers as the test's script says and records what it
// was asked. Operations appear in calls() as their name and arguments with one blank between them.
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

// A message of the debug log, and more that is known of it.
struct LoggedMessage {
    LogLine line;
    std::string format;
    // What followed the format when the tag itself looked like one: the call that passes its format for the tag.
    std::vector<int> numbers;
};

// One framed value that is there to be read, or the failure to read one.
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
    // Runtime. Without a text of its own a status N has the text "text of N".
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
    int network_timeout = 300;  // a second more with every call
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

// Forgets script, messages and calls.
void reset();

// The messages of this process, and those of the processes that it started, in order.
std::vector<LogLine> messages();
std::vector<LogLine> child_messages();
std::vector<LogLine> messages_under(const std::string& tag);
std::vector<LogLine> child_messages_under(const std::string& tag);
std::vector<LoggedMessage> messages_in_full();

// What was called, in all processes: operations of this library and system calls that are being recorded.
std::vector<std::string> calls();
// Those whose text begins so.
std::vector<std::string> calls_of(const std::string& beginning);

// What no caller may do: a handle that is not released, released twice or used after that, a record not filled with
// zeros. Empty in a test that is to pass.
std::vector<std::string> misuses();

}  // namespace recording_platform
