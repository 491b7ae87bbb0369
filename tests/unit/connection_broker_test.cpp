#include "logging_config/connection_broker.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <csignal>
#include <system_error>

#include "platform/posix.h"
#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls_of;
using recording_platform::messages;

using log_level::error;
using log_level::information;
const std::string tool = "/opt/HOLKkob/bin/ktlogcfg";
const std::string command = tool + " -a -p 50936 -o 103 -s DebugLevel=";

class ExtractKobValues : public AgentTest {
  protected:
    int extract(const Values& values) {
        name_.clear();
        level_.clear();
        recording_platform::reset();
        return extract_kob_values(values, name_, level_);
    }

    void expect_accepted(const std::string& value, const std::string& level) {
        EXPECT_EQ(extract({value}), 0) << value;
        EXPECT_EQ(name_, "kob");
        EXPECT_EQ(level_, level);
        EXPECT_EQ(messages(), Lines{});
    }

    void expect_rejected(const std::string& value, const std::string& message) {
        EXPECT_EQ(extract({value}), 5809) << value;
        EXPECT_EQ(messages(), (Lines{{error, "validate_kob_ctgyargs", "Invalid KOB DbgLevel spec: " + message}}));
    }

    std::string name_;
    std::string level_;
};

TEST_F(ExtractKobValues, AcceptsTheLevels0To10) {
    for (int level = 0; level <= 10; ++level) {
        expect_accepted("kob=" + std::to_string(level), std::to_string(level));
    }
}

TEST_F(ExtractKobValues, RejectsLevelsOutsideThatRange) {
    expect_rejected("kob=11", "N=kob V=11");
    expect_rejected("kob=-1", "N=kob V=-1");
    expect_rejected("kob=2147483647", "N=kob V=2147483647");
}

TEST_F(ExtractKobValues, KeepsTheLevelTextAsReceived) {
    expect_accepted("kob=07", "07");
    expect_accepted("kob=3x", "3x");
    expect_accepted("kob= \t+5 ", " \t+5 ");
    expect_accepted("kob=5=7", "5=7");
}

TEST_F(ExtractKobValues, ReadsTextWithoutDigitsAsZero) {
    expect_accepted("kob=abc", "abc");
    expect_accepted("kob=", "");
    expect_accepted("kob", "");
    expect_accepted("kob=-", "-");
}

TEST_F(ExtractKobValues, KeepsTheLow32BitsOfTheLevel) {
    expect_accepted("kob=4294967301", "4294967301");
    expect_accepted("kob=-4294967296", "-4294967296");
    expect_rejected("kob=4294967307", "N=kob V=11");
    expect_rejected("kob=99999999999999999999", "N=kob V=-1");
}

TEST_F(ExtractKobValues, RejectsAnyOtherName) {
    expect_rejected("KOB=5", "N=KOB V=5");
    expect_rejected("=5", "N= V=5");
    expect_rejected(" kob=5", "N= kob V=5");
    expect_rejected("", "N= V=0");
    expect_rejected("kob2=11", "N=kob2 V=11");
}

TEST_F(ExtractKobValues, RejectsAnyOtherNumberOfValues) {
    EXPECT_EQ(extract({}), 5809);
    EXPECT_EQ(messages(), (Lines{{error, "validate_kob_ctgyargs", "Expected 1, NOT 0"}}));
    EXPECT_EQ(extract({"kob=5", "kob=6"}), 5809);
    EXPECT_EQ(messages(), (Lines{{error, "validate_kob_ctgyargs", "Expected 1, NOT 2"}}));
}

// Hides what the shell writes to standard error, which the agent redirects to /dev/null. Makes no call that is
// recorded.
class HiddenStandardError {
  public:
    HiddenStandardError() {
        const Descriptor hidden(memfd_create("standard error", MFD_CLOEXEC));
        if (dup3(STDERR_FILENO, shown_, O_CLOEXEC) == -1 || dup3(hidden.get(), STDERR_FILENO, 0) == -1) {
            throw std::system_error(errno, std::generic_category(), "hide standard error");
        }
    }
    ~HiddenStandardError() {
        dup3(shown_, STDERR_FILENO, 0);
        close(shown_);
    }
    HiddenStandardError(const HiddenStandardError&) = delete;
    HiddenStandardError& operator=(const HiddenStandardError&) = delete;

  private:
    // Higher than the numbers that tests check.
    static constexpr int shown_ = 501;
};

class ProcessKob : public ProductPathTest {
  protected:
    int process(const Values& values) {
        return call_that_forks([&] { return process_kob("KOB", values, responses_); });
    }

    // The tool writes its arguments, one per line.
    static void install_tool(int exit_status) {
        write_tool(tool, "printf '%s\\n' \"$@\" > " + arguments + "\nexit " + std::to_string(exit_status) + "\n");
    }

    HiddenStandardError hidden_;
    static constexpr const char* tag = "process_kob";
    inline static const std::string arguments = "/opt/HOLKkob/arguments";
    Responses responses_;
};

TEST_F(ProcessKob, RunsTheToolWithTheLevelAndAnswers) {
    install_tool(0);
    EXPECT_EQ(process({"kob=5"}), 0);
    EXPECT_EQ(read_file(arguments), "-a\n-p\n50936\n-o\n103\n-s\nDebugLevel=5\n");
    EXPECT_EQ(responses_, (Responses{"PROCESS=KOB:kob STATUS=0 MSG=Success\n"}));
    EXPECT_EQ(messages(), (Lines{{information, tag, "For C=KOB CA=5 executing cmd=" + command + "5"},
                                 {information, tag, "Sending to caller: " + responses_.at(0)},
                                 {information, tag, "Completed w/ 0"}}));
}

TEST_F(ProcessKob, PassesTheLevelTextToTheShellAsReceived) {
    install_tool(0);
    for (const std::string level : {"07", "3x", "abc", "", "-", "5=7", "+3"}) {
        recording_platform::reset();
        EXPECT_EQ(process({"kob=" + level}), 0) << level;
        EXPECT_EQ(calls_of("system"), (Texts{"system " + command + level}));
    }
}

TEST_F(ProcessKob, RunsTheToolForANameWithoutALevel) {
    install_tool(0);
    EXPECT_EQ(process({"kob"}), 0);
    EXPECT_TRUE(read_file(arguments).ends_with("-s\nDebugLevel=\n"));
}

TEST_F(ProcessKob, QuotesALevelTextThatAShellWouldInterpret) {
    install_tool(0);
    for (const std::string level :
         {"5; touch /opt/HOLKkob/x", "5 | $(touch /opt/HOLKkob/x)", "5`touch /opt/HOLKkob/x`",
          "5'; touch /opt/HOLKkob/x; '", "5\ntouch /opt/HOLKkob/x", "5\" > /opt/HOLKkob/x", "5 \\ * ~ # & < !", "''"}) {
        EXPECT_EQ(process({"kob=" + level}), 0) << level;
        EXPECT_EQ(read_file(arguments), "-a\n-p\n50936\n-o\n103\n-s\nDebugLevel=" + level + "\n");
        EXPECT_FALSE(exists("/opt/HOLKkob/x")) << level;
    }
}

TEST_F(ProcessKob, QuotesALevelTextWithAnyByteThatMayBeSpecial) {
    failures["system"] = always(EAGAIN);
    for (int byte = 1; byte < 256; ++byte) {
        const std::string level = std::string("x") + static_cast<char>(byte);
        const bool is_harmless = std::isalnum(byte) != 0 || std::string("_.+=-").find(level[1]) != std::string::npos;
        const std::string quoted = level == "x'" ? R"('x'\''')" : "'" + level + "'";
        recording_platform::reset();
        EXPECT_EQ(process({"kob=" + level}), -1);
        EXPECT_EQ(calls_of("system"), (Texts{"system " + command + (is_harmless ? level : quoted)}));
    }
}

TEST_F(ProcessKob, ReturnsTheRawWaitStatusOfAFailingTool) {
    install_tool(2);
    EXPECT_EQ(process({"kob=5"}), 512);
    EXPECT_EQ(responses_, (Responses{"PROCESS=KOB:kob STATUS=512 MSG=failed to change KOB cfg\n"}));
    EXPECT_EQ(messages().at(1), (LogLine{information, tag, "Sending to caller: " + responses_.at(0)}));
    EXPECT_EQ(messages().at(2), (LogLine{information, tag, "Completed w/ 512"}));
}

TEST_F(ProcessKob, Returns256ForAToolThatEndsWith1) {
    install_tool(1);
    EXPECT_EQ(process({"kob=5"}), 256);
}

// The shell ends with 128 plus the number of the signal, or becomes the tool and is killed itself.
TEST_F(ProcessKob, ReturnsTheRawWaitStatusOfAKilledTool) {
    write_tool(tool, "kill -KILL $$\n");
    const int status = process({"kob=5"});
    EXPECT_TRUE(status == (128 + SIGKILL) * 256 || status == SIGKILL) << status;
    EXPECT_EQ(responses_,
              (Responses{"PROCESS=KOB:kob STATUS=" + std::to_string(status) + " MSG=failed to change KOB cfg\n"}));
}

TEST_F(ProcessKob, Returns32512ForAMissingTool) {
    EXPECT_EQ(process({"kob=5"}), 32512);
    EXPECT_EQ(responses_, (Responses{"PROCESS=KOB:kob STATUS=32512 MSG=failed to change KOB cfg\n"}));
}

TEST_F(ProcessKob, ReturnsMinusOneWhenNoShellCanBeStarted) {
    failures["system"] = {EAGAIN};
    EXPECT_EQ(process({"kob=5"}), -1);
    EXPECT_EQ(responses_, (Responses{"PROCESS=KOB:kob STATUS=-1 MSG=failed to change KOB cfg\n"}));
    EXPECT_EQ(messages().back(), (LogLine{information, tag, "Completed w/ -1"}));
}

TEST_F(ProcessKob, RunsNothingForInvalidArguments) {
    install_tool(0);
    for (const Values& values : {Values{"kob=11"}, Values{"KOB=5"}, Values{"kob=5", "kob=6"}, Values{}}) {
        recording_platform::reset();
        EXPECT_EQ(process(values), 5809);
        EXPECT_EQ(messages().back(), (LogLine{information, tag, "Completed w/ 5809"}));
        EXPECT_EQ(calls_of("system"), Texts{});
    }
    EXPECT_EQ(responses_, Responses{});
    EXPECT_FALSE(exists(arguments));
}

TEST_F(ProcessKob, CutsTheLineTo1023Characters) {
    install_tool(0);
    const std::string category(1100, 'C');
    call_that_forks([&] { return process_kob(category, {"kob=1"}, responses_); });
    EXPECT_EQ(responses_, (Responses{("PROCESS=" + category).substr(0, 1023)}));
}

TEST_F(ProcessKob, CutsTheLineOfAFailureTo1023Characters) {
    const std::string category(1100, 'C');
    call_that_forks([&] { return process_kob(category, {"kob=1"}, responses_); });
    EXPECT_EQ(responses_, (Responses{("PROCESS=" + category).substr(0, 1023)}));
}

}  // namespace
