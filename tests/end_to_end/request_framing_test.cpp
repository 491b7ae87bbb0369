// The bytes of a request.
#include <cstring>

#include "tests/support/agent_runner.h"
#include "tests/support/log_matchers.h"
#include "tests/support/product_test.h"
#include "tests/support/stand_in_tool.h"
#include "tests/support/test_files.h"

namespace {

constexpr const char* tag = "receive_inputs_from_client";

void expect_cut_off(const AgentRun& run, const LogLine& reason) {
    EXPECT_EQ(run.exit_status(), 252);
    EXPECT_THAT(run.log, LogHas(reason));
    EXPECT_THAT(run.log, LogHas({16, "zmlogadmagent", "failed to receive args SC=5763"}));
    EXPECT_THAT(run.log, Not(LogHas({4, "process_request", "processing request R=<text>"})));
}

void expect_not_received(const AgentRun& run, const LogLine& reason) {
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.status(), 5763);
    expect_cut_off(run, reason);
}

// Sends bytes and no more.
AgentRun run_agent_with_no_more_than(std::string_view bytes) {
    Agent agent;
    agent.send(bytes);
    agent.stop_sending();
    return agent.finish();
}

struct RefusedBytes {
    std::string name;
    std::string bytes;
    int error = 0;
    // Which string could not be read; none when it was the count.
    std::optional<int> argument = std::nullopt;
};

std::ostream& operator<<(std::ostream& out, const RefusedBytes& row) {
    return out << row.name;
}

class RequestBytes : public testing::TestWithParam<RefusedBytes> {};

TEST_P(RequestBytes, AreRefused) {
    make_product_tree();
    const RefusedBytes& row = GetParam();
    const std::string error = "E=" + std::to_string(row.error);
    const std::string count_failed = "failure receiving #args " + error + " (" + strerror(row.error) + ")";
    const std::string string_failed = "failed to read peer msg A#=" + std::to_string(row.argument.value_or(0)) + " " +
                                      error + " " + strerror(row.error);
    expect_not_received(run_agent_with_no_more_than(row.bytes),
                        {16, tag, row.argument.has_value() ? string_failed : count_failed});
}

std::string text_of(std::size_t length) {
    return std::string(length, 'x');
}

INSTANTIATE_TEST_SUITE_P(
    Count, RequestBytes,
    testing::Values(
        RefusedBytes{"Zero", "1:0,", 0}, RefusedBytes{"Negative", "2:-1,", 0},
        RefusedBytes{"NegativeIn32Bits", netstring("2147483648"), 0},
        RefusedBytes{"ZeroIn32Bits", netstring("4294967296"), 0}, RefusedBytes{"Missing", "", ECONNRESET},
        RefusedBytes{"CutInItsLength", "1", ECONNRESET}, RefusedBytes{"CutInItsText", "3:1", ECONNRESET},
        RefusedBytes{"CutBeforeItsComma", "1:1", ECONNRESET}, RefusedBytes{"NotANetstring", "hello", EPROTO},
        RefusedBytes{"NoLength", ":1,", EPROTO}, RefusedBytes{"LengthWithALeadingZero", "01:1,", EPROTO},
        RefusedBytes{"LengthZeroWithALeadingZero", "00:,", EPROTO}, RefusedBytes{"NegativeLength", "-1:1,", EPROTO},
        RefusedBytes{"LengthOfElevenDigits", "11111111111:1,", EPROTO},
        RefusedBytes{"AnotherSeparator", "1;1,", EPROTO}, RefusedBytes{"AnotherEnd", "1:1;", EPROTO},
        RefusedBytes{"Empty", "0:,", EPROTO}, RefusedBytes{"Word", "3:one,", EPROTO},
        RefusedBytes{"SignAlone", "1:-,", EPROTO}, RefusedBytes{"PlusSign", "2:+1,", EPROTO},
        RefusedBytes{"LeadingBlank", "2: 1,", EPROTO}, RefusedBytes{"TrailingBlank", "2:1 ,", EPROTO},
        RefusedBytes{"ZeroByte", std::string("2:1\0,", 5), EPROTO},
        RefusedBytes{"Beyond64Bits", netstring("9223372036854775808"), ERANGE},
        RefusedBytes{"BelowThe64Bits", netstring("-9223372036854775809"), ERANGE},
        RefusedBytes{"Over2047Digits", "2048:1", EMSGSIZE}, RefusedBytes{"OfAHugeLength", "9999999999:1", EMSGSIZE}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    String, RequestBytes,
    testing::Values(
        RefusedBytes{"FirstMissing", "1:1,", ECONNRESET, 0},
        RefusedBytes{"ThirdMissing", "1:3," + netstring("FETCHFILE") + netstring("a"), ECONNRESET, 2},
        RefusedBytes{"Cut", "1:1,9:FETCH", ECONNRESET, 0}, RefusedBytes{"NotANetstring", "1:1,FETCHFILE", EPROTO, 0},
        RefusedBytes{"LengthWithALeadingZero", "1:1,09:FETCHFILE,", EPROTO, 0},
        RefusedBytes{"AnotherEnd", "1:1,9:FETCHFILE\n", EPROTO, 0},
        RefusedBytes{"Over2047BytesWhole", "1:2," + netstring("FETCHFILE") + netstring(text_of(2048)), EMSGSIZE, 1},
        RefusedBytes{"Over2047BytesByItsLengthAlone", "1:1,2048:", EMSGSIZE, 0},
        RefusedBytes{"ZeroByte", "1:1,3:a" + std::string(1, '\0') + "b,", EILSEQ, 0},
        RefusedBytes{"TwoMillionAnnouncedAndNoneSent", netstring("2000000"), ECONNRESET, 0},
        RefusedBytes{"TwoMillionAnnouncedAndOneSent", netstring("2000000") + netstring("FETCHFILE"), ECONNRESET, 1}),
    [](const auto& row) { return row.param.name; });

struct AcceptedBytes {
    std::string name;
    std::string bytes;
};

std::ostream& operator<<(std::ostream& out, const AcceptedBytes& row) {
    return out << row.name;
}

class AcceptedCount : public testing::TestWithParam<AcceptedBytes> {};

TEST_P(AcceptedCount, IsOne) {
    make_product_tree();
    const AgentRun run = run_agent_with_no_more_than(GetParam().bytes + netstring("FETCHFILE"));
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({4, "process_request", "processing request R=FETCHFILE"}));
}

INSTANTIATE_TEST_SUITE_P(Table, AcceptedCount,
                         testing::Values(AcceptedBytes{"AsItIs", "1:1,"}, AcceptedBytes{"WithLeadingZeros", "4:0001,"},
                                         AcceptedBytes{"In32Bits", netstring("4294967297")},
                                         AcceptedBytes{"NegativeIn64Bits", netstring("-4294967295")},
                                         AcceptedBytes{"Of2047Digits", netstring(std::string(2046, '0') + "1")}),
                         [](const auto& row) { return row.param.name; });

class RequestFraming : public ProductTest {};

TEST_F(RequestFraming, TakesAnArgumentOf2047BytesWhole) {
    const AgentRun run = run_agent({"FETCHFILE", text_of(2047)});
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({4, tag, "string from peer C=" + text_of(2047)}));
}

TEST_F(RequestFraming, TakesAnEmptyArgument) {
    const AgentRun run = run_agent({"FETCHFILE", ""});
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({4, tag, "string from peer C="}));
}

TEST_F(RequestFraming, TakesArgumentsThatLookLikeFraming) {
    const AgentRun run = run_agent({"FETCHFILE", "1:2,", ",:"});
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({4, tag, "string from peer C=1:2,"}));
    EXPECT_THAT(run.log, LogHas({4, tag, "string from peer C=,:"}));
}

TEST_F(RequestFraming, LogsWhatCameBeforeTheStringThatFailed) {
    const AgentRun run = run_agent_with_no_more_than("1:3," + netstring("FETCHFILE") + netstring("a"));
    EXPECT_THAT(run.log, LogHas({4, tag, "string from peer C=FETCHFILE"}));
    EXPECT_THAT(run.log, LogHas({4, tag, "string from peer C=a"}));
}

TEST_F(RequestFraming, TakesARequestThatComesInPieces) {
    Agent agent;
    const std::string bytes = netstrings({"FETCHFILE", "first", "second"});
    // What was read of it shows in the log, so each piece is sent after the one before it has been read.
    agent.send(std::string_view(bytes).substr(0, 20));
    agent.await_log("C=FETCHFILE");
    agent.send(std::string_view(bytes).substr(20, 6));
    agent.await_log("C=first");
    agent.send(std::string_view(bytes).substr(26));
    const AgentRun run = agent.finish();
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.log, LogHas({4, tag, "string from peer C=second"}));
}

TEST_F(RequestFraming, LeavesWhatFollowsTheRequestToTheTool) {
    install_tool(zmsu_tool, {stand_in::print_input(14)});
    const AgentRun run = run_agent_with_bytes(netstrings({"zmsu", "argument"}) + "for the tool\r\n");
    EXPECT_EQ(run.output(), "for the tool\r\n\n");
    EXPECT_EQ(run.status(), 0);
}

TEST_F(RequestFraming, GivesUpAPeerThatHasGone) {
    Agent agent;
    agent.send("1:2,9:FETCHFILE,3:ab");
    agent.await_log("C=FETCHFILE");
    agent.close_peer();
    expect_cut_off(agent.finish(),
                   {16, tag, std::string("failed to read peer msg A#=1 E=104 ") + strerror(ECONNRESET)});
}

TEST_F(RequestFraming, GivesUpACountThatDoesNotCome) {
    write_file(main_configuration, "SERVER = localhost\nNETWORK_TIMEOUT = 1\n");
    expect_not_received(run_agent_with_bytes("1:"),
                        {16, tag, std::string("failure receiving #args E=110 (") + strerror(ETIMEDOUT) + ")"});
}

TEST_F(RequestFraming, GivesUpAStringThatDoesNotCome) {
    write_file(main_configuration, "SERVER = localhost\nNETWORK_TIMEOUT = 1\n");
    expect_not_received(run_agent_with_bytes("1:2,9:FETCHFILE,3:ab"),
                        {16, tag, std::string("failed to read peer msg A#=1 E=110 ") + strerror(ETIMEDOUT)});
}

}  // namespace
