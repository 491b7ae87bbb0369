// The bytes of a request.
#include <cstring>

#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/request_case.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

using log_level::error;
using log_level::information;

constexpr const char* tag = "receive_inputs_from_client";

void expect_cut_off(const AgentRun& run, const LogLine& reason) {
    EXPECT_EQ(run.exit_status(), 252);
    EXPECT_THAT(run.log, LogHas(reason));
    EXPECT_THAT(run.log, LogHas({error, "zmlogadmagent", "failed to receive args SC=5763"}));
    EXPECT_THAT(run.log, Not(LogHas({information, "process_request", "processing request R=<text>"})));
}

void expect_not_received(const AgentRun& run, const LogLine& reason) {
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 5763);
    expect_cut_off(run, reason);
}

// Runs the agent with a peer that sends only these bytes.
AgentRun run_agent_with_only(std::string_view bytes) {
    Agent agent;
    agent.send(bytes);
    agent.stop_sending();
    return agent.finish();
}

struct RejectedBytes {
    std::string name;
    std::string bytes;
    int error = 0;
    // The number of the string that could not be read; nothing if it was the count.
    std::optional<int> argument = std::nullopt;
};

std::ostream& operator<<(std::ostream& out, const RejectedBytes& row) {
    return out << row.name;
}

class RequestBytes : public testing::TestWithParam<RejectedBytes> {};

TEST_P(RequestBytes, AreRejected) {
    make_product_tree();
    const RejectedBytes& row = GetParam();
    const std::string number = "E=" + std::to_string(row.error);
    const std::string count_failed = "failure receiving #args " + number + " (" + strerror(row.error) + ")";
    const std::string string_failed = "failed to read peer msg A#=" + std::to_string(row.argument.value_or(0)) + " " +
                                      number + " " + strerror(row.error);
    expect_not_received(run_agent_with_only(row.bytes),
                        {error, tag, row.argument.has_value() ? string_failed : count_failed});
}

std::string text_of(std::size_t length) {
    return std::string(length, 'x');
}

INSTANTIATE_TEST_SUITE_P(
    Count, RequestBytes,
    testing::Values(
        RejectedBytes{"Zero", "1:0,", 0}, RejectedBytes{"Negative", "2:-1,", 0},
        RejectedBytes{"NegativeIn32Bits", netstring("2147483648"), 0},
        RejectedBytes{"ZeroIn32Bits", netstring("4294967296"), 0}, RejectedBytes{"Missing", "", ECONNRESET},
        RejectedBytes{"CutInItsLength", "1", ECONNRESET}, RejectedBytes{"CutInItsText", "3:1", ECONNRESET},
        RejectedBytes{"CutBeforeItsComma", "1:1", ECONNRESET}, RejectedBytes{"NotANetstring", "hello", EPROTO},
        RejectedBytes{"NoLength", ":1,", EPROTO}, RejectedBytes{"LengthWithALeadingZero", "01:1,", EPROTO},
        RejectedBytes{"LengthZeroWithALeadingZero", "00:,", EPROTO}, RejectedBytes{"NegativeLength", "-1:1,", EPROTO},
        RejectedBytes{"LengthOfElevenDigits", "11111111111:1,", EPROTO},
        RejectedBytes{"AnotherSeparator", "1;1,", EPROTO}, RejectedBytes{"AnotherEnd", "1:1;", EPROTO},
        RejectedBytes{"Empty", "0:,", EPROTO}, RejectedBytes{"Word", "3:one,", EPROTO},
        RejectedBytes{"OnlyASign", "1:-,", EPROTO}, RejectedBytes{"PlusSign", "2:+1,", EPROTO},
        RejectedBytes{"LeadingSpace", "2: 1,", EPROTO}, RejectedBytes{"TrailingSpace", "2:1 ,", EPROTO},
        RejectedBytes{"ZeroByte", std::string("2:1\0,", 5), EPROTO},
        RejectedBytes{"Beyond64Bits", netstring("9223372036854775808"), ERANGE},
        RejectedBytes{"Below64Bits", netstring("-9223372036854775809"), ERANGE},
        RejectedBytes{"Over2047Digits", "2048:1", EMSGSIZE}, RejectedBytes{"HugeLength", "9999999999:1", EMSGSIZE}),
    name_of_row);

INSTANTIATE_TEST_SUITE_P(
    String, RequestBytes,
    testing::Values(
        RejectedBytes{"FirstMissing", "1:1,", ECONNRESET, 0},
        RejectedBytes{"ThirdMissing", "1:3," + netstring("FETCHFILE") + netstring("a"), ECONNRESET, 2},
        RejectedBytes{"Cut", "1:1,9:FETCH", ECONNRESET, 0}, RejectedBytes{"NotANetstring", "1:1,FETCHFILE", EPROTO, 0},
        RejectedBytes{"LengthWithALeadingZero", "1:1,09:FETCHFILE,", EPROTO, 0},
        RejectedBytes{"AnotherEnd", "1:1,9:FETCHFILE\n", EPROTO, 0},
        RejectedBytes{"Over2047BytesSent", "1:2," + netstring("FETCHFILE") + netstring(text_of(2048)), EMSGSIZE, 1},
        RejectedBytes{"Over2047BytesAnnounced", "1:1,2048:", EMSGSIZE, 0},
        RejectedBytes{"ZeroByte", "1:1,3:a" + std::string(1, '\0') + "b,", EILSEQ, 0},
        RejectedBytes{"TwoMillionAnnouncedAndNoneSent", netstring("2000000"), ECONNRESET, 0},
        RejectedBytes{"TwoMillionAnnouncedAndOneSent", netstring("2000000") + netstring("FETCHFILE"), ECONNRESET, 1}),
    name_of_row);

struct AcceptedBytes {
    std::string name;
    std::string bytes;
};

std::ostream& operator<<(std::ostream& out, const AcceptedBytes& row) {
    return out << row.name;
}

class CountOfOne : public testing::TestWithParam<AcceptedBytes> {};

TEST_P(CountOfOne, IsAcceptedInAnyForm) {
    make_product_tree();
    const AgentRun run = run_agent_with_only(GetParam().bytes + netstring("FETCHFILE"));
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({information, "process_request", "processing request R=FETCHFILE"}));
}

INSTANTIATE_TEST_SUITE_P(, CountOfOne,
                         testing::Values(AcceptedBytes{"WithoutLeadingZeros", "1:1,"},
                                         AcceptedBytes{"WithLeadingZeros", "4:0001,"},
                                         AcceptedBytes{"In32Bits", netstring("4294967297")},
                                         AcceptedBytes{"NegativeIn64Bits", netstring("-4294967295")},
                                         AcceptedBytes{"Of2047Digits", netstring(std::string(2046, '0') + "1")}),
                         name_of_row);

class RequestFraming : public ProductTest {};

TEST_F(RequestFraming, AcceptsAnArgumentOf2047Bytes) {
    const AgentRun run = run_agent({"FETCHFILE", text_of(2047)});
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({information, tag, "string from peer C=" + text_of(2047)}));
}

TEST_F(RequestFraming, AcceptsAnEmptyArgument) {
    const AgentRun run = run_agent({"FETCHFILE", ""});
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({information, tag, "string from peer C="}));
}

TEST_F(RequestFraming, AcceptsArgumentsThatLookLikeFraming) {
    const AgentRun run = run_agent({"FETCHFILE", "1:2,", ",:"});
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({information, tag, "string from peer C=1:2,"}));
    EXPECT_THAT(run.log, LogHas({information, tag, "string from peer C=,:"}));
}

TEST_F(RequestFraming, LogsTheStringsBeforeTheOneThatFailed) {
    const AgentRun run = run_agent_with_only("1:3," + netstring("FETCHFILE") + netstring("a"));
    EXPECT_THAT(run.log, LogHas({information, tag, "string from peer C=FETCHFILE"}));
    EXPECT_THAT(run.log, LogHas({information, tag, "string from peer C=a"}));
}

TEST_F(RequestFraming, AcceptsARequestInPieces) {
    Agent agent;
    const std::string bytes = netstrings({"FETCHFILE", "first", "second"});
    // The log shows each string that was read, so the next piece is sent only then.
    agent.send(std::string_view(bytes).substr(0, 20));
    agent.await_log("C=FETCHFILE");
    agent.send(std::string_view(bytes).substr(20, 6));
    agent.await_log("C=first");
    agent.send(std::string_view(bytes).substr(26));
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({information, tag, "string from peer C=second"}));
}

TEST_F(RequestFraming, LeavesWhatFollowsTheRequestToTheTool) {
    install_tool(zmsu_tool, {stand_in::print_input(14)});
    const AgentRun run = run_agent_with_bytes(netstrings({"zmsu", "argument"}) + "for the tool\r\n");
    EXPECT_EQ(run.output(), "for the tool\r\n\n");
    EXPECT_EQ(run.status(), 0);
}

TEST_F(RequestFraming, GivesUpOnAPeerThatHasClosed) {
    Agent agent;
    agent.send("1:2,9:FETCHFILE,3:ab");
    agent.await_log("C=FETCHFILE");
    agent.close_peer();
    expect_cut_off(agent.finish(),
                   {error, tag, std::string("failed to read peer msg A#=1 E=104 ") + strerror(ECONNRESET)});
}

TEST_F(RequestFraming, GivesUpOnACountThatDoesNotArrive) {
    write_file(main_configuration, "SERVER = localhost\nNETWORK_TIMEOUT = 1\n");
    expect_not_received(run_agent_with_bytes("1:"),
                        {error, tag, std::string("failure receiving #args E=110 (") + strerror(ETIMEDOUT) + ")"});
}

TEST_F(RequestFraming, GivesUpOnAStringThatDoesNotArrive) {
    write_file(main_configuration, "SERVER = localhost\nNETWORK_TIMEOUT = 1\n");
    expect_not_received(run_agent_with_bytes("1:2,9:FETCHFILE,3:ab"),
                        {error, tag, std::string("failed to read peer msg A#=1 E=110 ") + strerror(ETIMEDOUT)});
}

}  // namespace
