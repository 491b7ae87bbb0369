#include "agent/request_framing.h"

#include <cerrno>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls;
using recording_platform::framed_failure;
using recording_platform::framed_number;
using recording_platform::framed_text;
using recording_platform::FramedRead;
using recording_platform::messages;

using log_level::error;
using log_level::information;
constexpr const char* tag = "receive_inputs_from_client";

class ReceiveInputsFromClient : public AgentTest {
  protected:
    int receive(std::deque<FramedRead> reads) {
        script.framed_reads = std::move(reads);
        return receive_inputs_from_client(5, request_);
    }

    RequestVector request_;
};

TEST_F(ReceiveInputsFromClient, ReadsACountAndThatManyStrings) {
    EXPECT_EQ(receive({framed_number(3), framed_text("GETDISKSPACE"), framed_text("/tmp"), framed_text("")}), 0);
    EXPECT_EQ(request_, (RequestVector{"GETDISKSPACE", "/tmp", ""}));
    EXPECT_EQ(messages(), (Lines{{information, tag, "string from peer C=GETDISKSPACE"},
                                 {information, tag, "string from peer C=/tmp"},
                                 {information, tag, "string from peer C="}}));
}

TEST_F(ReceiveInputsFromClient, FetchesTheTimeoutBeforeEveryRead) {
    script.network_timeout = 100;
    receive({framed_number(2), framed_text("a"), framed_text("b")});
    EXPECT_EQ(calls(),
              (Texts{"xnet_get_max_timeout", "get_long 5 100 0", "xnet_get_max_timeout",
                     "get_string 5 cleared 2047 101", "xnet_get_max_timeout", "get_string 5 cleared 2047 102"}));
}

TEST_F(ReceiveInputsFromClient, RejectsACountOfZeroWithErrorNumberZero) {
    EXPECT_EQ(receive({framed_number(0)}), 5763);
    EXPECT_EQ(messages(), (Lines{{error, tag, "failure receiving #args E=0 (Success)"}}));
    EXPECT_EQ(request_, RequestVector{});
}

TEST_F(ReceiveInputsFromClient, RejectsANegativeCountWithErrorNumberZero) {
    EXPECT_EQ(receive({framed_number(-4)}), 5763);
    EXPECT_EQ(messages(), (Lines{{error, tag, "failure receiving #args E=0 (Success)"}}));
}

TEST_F(ReceiveInputsFromClient, ReportsWhyTheCountCouldNotBeRead) {
    EXPECT_EQ(receive({framed_failure(0, ETIMEDOUT)}), 5763);
    EXPECT_EQ(messages(), (Lines{{error, tag, "failure receiving #args E=110 (Connection timed out)"}}));
}

TEST_F(ReceiveInputsFromClient, TruncatesTheCountToASigned32BitValue) {
    EXPECT_EQ(receive({framed_number(0x100000001), framed_text("zmsu")}), 0);
    EXPECT_EQ(request_, RequestVector{"zmsu"});
}

TEST_F(ReceiveInputsFromClient, RejectsACountWhose32BitsAreNotPositive) {
    EXPECT_EQ(receive({framed_number(0x100000000)}), 5763);
    EXPECT_EQ(receive({framed_number(0x80000000)}), 5763);
}

TEST_F(ReceiveInputsFromClient, ReportsTheIndexOfTheArgumentThatFailed) {
    EXPECT_EQ(receive({framed_number(3), framed_text("a"), framed_text("b"), framed_failure(-1, ECONNRESET)}), 5763);
    EXPECT_EQ(messages().back(), (LogLine{error, tag, "failed to read peer msg A#=2 E=104 Connection reset by peer"}));
}

TEST_F(ReceiveInputsFromClient, KeepsTheArgumentsBeforeTheOneThatFailed) {
    receive({framed_number(3), framed_text("a"), framed_text("b"), framed_failure(-1, ECONNRESET)});
    EXPECT_EQ(request_, (RequestVector{"a", "b"}));
}

TEST_F(ReceiveInputsFromClient, TreatsAResultOfZeroAsAFailure) {
    EXPECT_EQ(receive({framed_number(1), framed_failure(0, 0)}), 5763);
    EXPECT_EQ(messages(), (Lines{{error, tag, "failed to read peer msg A#=0 E=0 Success"}}));
}

// The error number is cleared once, not before each read.
TEST_F(ReceiveInputsFromClient, ReportsTheErrorNumberOfAnEarlierReadWhenTheFailedOneSetsNone) {
    FramedRead count = framed_number(1);
    count.error_number = EIO;
    EXPECT_EQ(receive({count, framed_failure(0, 0)}), 5763);
    EXPECT_EQ(messages(), (Lines{{error, tag, "failed to read peer msg A#=0 E=5 Input/output error"}}));
}

TEST_F(ReceiveInputsFromClient, AcceptsAnyPositiveResult) {
    FramedRead read = framed_text("word");
    read.result = 4;
    EXPECT_EQ(receive({framed_number(1), read}), 0);
    EXPECT_EQ(request_, RequestVector{"word"});
}

TEST_F(ReceiveInputsFromClient, ReceivesTheLongestArgumentWhole) {
    const std::string longest(2047, 'x');
    EXPECT_EQ(receive({framed_number(1), framed_text(longest)}), 0);
    EXPECT_EQ(request_, RequestVector{longest});
}

TEST_F(ReceiveInputsFromClient, DoesNotUseTextAsAFormat) {
    EXPECT_EQ(receive({framed_number(1), framed_text("%s%n")}), 0);
    EXPECT_EQ(messages(), (Lines{{information, tag, "string from peer C=%s%n"}}));
}

TEST_F(ReceiveInputsFromClient, DoesNotLimitTheCount) {
    std::deque<FramedRead> reads = {framed_number(3000)};
    reads.resize(3001, framed_text("x"));
    EXPECT_EQ(receive(reads), 0);
    EXPECT_EQ(request_.size(), 3000U);
}

TEST_F(ReceiveInputsFromClient, AllocatesNothingForArgumentsThatHaveNotArrived) {
    EXPECT_EQ(receive({framed_number(0x7fffffff), framed_text("a"), framed_failure(-1, ECONNRESET)}), 5763);
    EXPECT_LT(request_.capacity(), 100U);
}

}  // namespace
