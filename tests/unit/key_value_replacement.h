// A key-value file that the tests of its editor replace.
#pragma once

#include <array>
#include <string>

#include "logging_config/key_value_file.h"
#include "tests/unit/agent_test.h"

// Both operations on one file.
class KeyValueFileReplacement : public AgentTest {
  protected:
    KeyValueFileReplacement() { write_file(path_, "X=1\nA\n"); }

    int set() {
        return set_parameter_value(path_, "X", "=", "2", buffer_.data(), buffer_.size(), set_flag::make_active);
    }
    int unset() { return unset_parameter(path_, "X", "=", buffer_.data(), buffer_.size(), "#"); }

    void expect_reported(const char* operation, const std::string& text) {
        EXPECT_EQ(buffer_.data(), text);
        EXPECT_EQ(recording_platform::messages(), (Lines{{log_level::error, operation, text}}));
        for (const auto& message : recording_platform::messages_in_full()) {
            EXPECT_EQ(message.format, "%s");
        }
        recording_platform::reset();
    }

    ScratchFolder folder_;
    const std::string path_ = folder_.path("component%s.conf");
    const std::string copy_ = path_ + ".new";
    std::array<char, 1024> buffer_{};
};
