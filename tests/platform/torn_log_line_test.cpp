// A log line that a full disk has cut.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <regex>
#include <string>

#include "platform/runtime.h"
#include "tests/platform/system_calls.h"
#include "tests/platform/written_debug_log.h"
#include "tests/support/failing_calls.h"

using failing_calls::failures;
using system_calls::overrides;

namespace {

// Logs a message. Its writes take at most this many bytes, or fail.
void log_message(const char* text, std::size_t longest_write, int error = 0) {
    overrides.longest_write = longest_write;
    if (error != 0) {
        failures["write"] = {error};
    }
    logmsgf(log_level::error, "t", "%s", text);
    overrides.longest_write = 0;
    failures.clear();
}

// Returns the log of these messages, without time and process.
std::string log_of(const std::function<void()>& messages) {
    const std::string log = debug_log_of([&] {
        overrides.time_of_day = timespec{0, 0};
        setenv("TZ", "UTC0", 1);
        tzset();
        messages();
    });
    return std::regex_replace(log, std::regex("00:00:00\\.000 \\[\\d+\\] "), "");
}

constexpr std::size_t all = 0;
constexpr std::size_t up_to_the_time = 13;

class TornLine : public testing::Test {
  protected:
    TornLine() { system_calls::reset(); }
    ~TornLine() override { system_calls::reset(); }
};

}  // namespace

TEST_F(TornLine, IsFollowedByANewOne) {
    EXPECT_EQ(log_of([] {
                  log_message("whole", all);
                  log_message("cut", up_to_the_time);
                  log_message("next", all);
                  log_message("last", all);
              }),
              "<16> t: whole\n00:00:00.000 \n<16> t: next\n<16> t: last\n");
}

TEST_F(TornLine, IsFollowedByANewOneInASingleWrite) {
    debug_log_of([] {
        log_message("cut", up_to_the_time);
        int writes = 0;
        overrides.before_call = [&writes](const std::string& call) { writes += call == "write" ? 1 : 0; };
        log_message("next", all);
        EXPECT_EQ(writes, 1);
    });
}

TEST_F(TornLine, IsFollowedByANewOneOnceThereIsSpace) {
    EXPECT_EQ(log_of([] {
                  log_message("cut", up_to_the_time);
                  log_message("lost", all, ENOSPC);
                  log_message("lost", all, ENOSPC);
                  log_message("next", all);
              }),
              "00:00:00.000 \n<16> t: next\n");
}

TEST_F(TornLine, IsEndedOnce) {
    EXPECT_EQ(log_of([] {
                  log_message("cut", up_to_the_time);
                  log_message("only its newline finds room", 1);
                  log_message("next", all);
              }),
              "00:00:00.000 \n<16> t: next\n");
}

TEST_F(TornLine, IsNotLeftByAMessageThatWasLostWhole) {
    EXPECT_EQ(log_of([] {
                  log_message("lost", all, ENOSPC);
                  log_message("next", all);
              }),
              "<16> t: next\n");
}
