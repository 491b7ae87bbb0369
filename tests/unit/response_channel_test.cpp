#include "agent/response_channel.h"

#include <fcntl.h>

#include <cerrno>
#include <csignal>

#include "tests/unit/agent_test.h"

namespace {

using recording_platform::calls;
using recording_platform::messages;

using log_level::error;
using log_level::information;
using log_level::warning;
constexpr const char* tag = "socksend";

class Socksend : public AgentTest {
  protected:
    Socksend() {
        overrides.watched_descriptor = socket_.agent();
        overrides.pauses_skipped = true;
    }

    int send(const std::string& text) { return socksend(socket_.agent(), text.c_str(), text.size()); }
    std::string fd() const { return std::to_string(socket_.agent()); }

    AgentConnection socket_;
};

TEST_F(Socksend, WritesTheTextInOneInstallmentWhenThatIsAccepted) {
    EXPECT_EQ(send("hello\n"), 6);
    EXPECT_EQ(socket_.received(), "hello\n");
    EXPECT_EQ(messages(),
              (Lines{{information, tag, "sent installment #1: 6 of 6"}, {information, tag, "sent M=hello\n L=6, 6"}}));
    EXPECT_EQ(calls(), (Texts{"write " + fd() + " 6"}));
}

TEST_F(Socksend, ContinuesWhereAPartialWriteStopped) {
    overrides.writes = {{.accepted = 3}, {.accepted = 1}};
    EXPECT_EQ(send("abcdefg\n"), 8);
    EXPECT_EQ(socket_.received(), "abcdefg\n");
    EXPECT_EQ(messages(), (Lines{{information, tag, "sent installment #1: 3 of 8"},
                                 {information, tag, "sent installment #2: 4 of 8"},
                                 {information, tag, "sent installment #3: 8 of 8"},
                                 {information, tag, "sent M=abcdefg\n L=8, 8"}}));
    EXPECT_EQ(calls(), (Texts{"write " + fd() + " 8", "write " + fd() + " 5", "write " + fd() + " 4"}));
}

TEST_F(Socksend, WritesNothingForAnEmptyText) {
    EXPECT_EQ(send(""), 0);
    EXPECT_EQ(calls(), Texts{});
    EXPECT_EQ(messages(), (Lines{{information, tag, "sent M= L=0, 0"}}));
}

TEST_F(Socksend, WritesTheGivenLengthAndLogsTheWholeText) {
    EXPECT_EQ(socksend(socket_.agent(), "abcdef", 2), 2);
    EXPECT_EQ(socket_.received(), "ab");
    EXPECT_EQ(messages().back(), (LogLine{information, tag, "sent M=abcdef L=2, 2"}));
}

TEST_F(Socksend, SleepsTenMillisecondsAndRetriesWhenThePeerDrainsNothing) {
    overrides.writes = {{.accepted = -1, .error = EAGAIN}, {.accepted = -1, .error = EAGAIN}};
    EXPECT_EQ(send("ab\n"), 3);
    EXPECT_EQ(socket_.received(), "ab\n");
    const std::string retry = " L=3 FD=" + fd() + " E=11 Resource temporarily unavailable";
    EXPECT_EQ(messages(), (Lines{{warning, tag, "sleep, retry I=1" + retry},
                                 {warning, tag, "sleep, retry I=2" + retry},
                                 {information, tag, "sent installment #3: 3 of 3"},
                                 {information, tag, "sent M=ab\n L=3, 3"}}));
    const std::string write = "write " + fd() + " 3";
    EXPECT_EQ(calls(), (Texts{write, "nanosleep 0 10000000", write, "nanosleep 0 10000000", write}));
}

TEST_F(Socksend, CountsEveryWriteEvenBetweenInstallments) {
    overrides.writes = {{.accepted = 1}, {.accepted = -1, .error = EAGAIN}};
    EXPECT_EQ(send("ab\n"), 3);
    EXPECT_EQ(messages(),
              (Lines{{information, tag, "sent installment #1: 1 of 3"},
                     {warning, tag, "sleep, retry I=2 L=3 FD=" + fd() + " E=11 Resource temporarily unavailable"},
                     {information, tag, "sent installment #3: 3 of 3"},
                     {information, tag, "sent M=ab\n L=3, 3"}}));
}

TEST_F(Socksend, RetriesWithoutLimit) {
    overrides.writes.resize(5000, {.accepted = -1, .error = EAGAIN});
    EXPECT_EQ(send("x"), 1);
    EXPECT_EQ(recording_platform::calls_of("nanosleep").size(), 5000U);
    EXPECT_EQ(messages().at(5000), (LogLine{information, tag, "sent installment #5001: 1 of 1"}));
}

TEST_F(Socksend, CountsAWriteOfNoBytesAsAnInstallment) {
    overrides.writes = {{.accepted = 0}};
    EXPECT_EQ(send("ab"), 2);
    EXPECT_EQ(messages(), (Lines{{information, tag, "sent installment #1: 0 of 2"},
                                 {information, tag, "sent installment #2: 2 of 2"},
                                 {information, tag, "sent M=ab L=2, 2"}}));
}

TEST_F(Socksend, IsFatalWhenThePeerHasClosed) {
    signal(SIGPIPE, SIG_IGN);
    recording_platform::reset();
    socket_.peer_closes();
    EXPECT_EQ(send("ab\n"), -1);
    EXPECT_EQ(messages(), (Lines{{error, tag, "send failed, fatal I=1 M=ab\n L=3 FD=" + fd() + " E=32 Broken pipe"}}));
}

TEST_F(Socksend, IsFatalWhenInterrupted) {
    overrides.writes = {{.accepted = -1, .error = EINTR}};
    EXPECT_EQ(send("ab\n"), -1);
    EXPECT_EQ(messages(),
              (Lines{{error, tag, "send failed, fatal I=1 M=ab\n L=3 FD=" + fd() + " E=4 Interrupted system call"}}));
    EXPECT_EQ(calls(), (Texts{"write " + fd() + " 3"}));
}

TEST_F(Socksend, LeavesTheRestUnsentAfterAFatalError) {
    overrides.writes = {{.accepted = 2}, {.accepted = -1, .error = EAGAIN}, {.accepted = -1, .error = ECONNRESET}};
    EXPECT_EQ(send("abcd\n"), -1);
    EXPECT_EQ(socket_.received(), "ab");
    EXPECT_EQ(
        messages().back(),
        (LogLine{error, tag, "send failed, fatal I=3 M=abcd\n L=5 FD=" + fd() + " E=104 Connection reset by peer"}));
    EXPECT_EQ(messages().size(), 3U);
}

TEST_F(Socksend, KeepsTheErrorNumberForItsCaller) {
    overrides.writes = {{.accepted = -1, .error = ECONNRESET}};
    send("ab\n");
    EXPECT_EQ(errno, ECONNRESET);
}

TEST_F(Socksend, TruncatesTheLengthTo32Bits) {
    EXPECT_EQ(socksend(socket_.agent(), "ab", static_cast<unsigned long>(0x100000000ULL)), 0);
    EXPECT_EQ(calls(), Texts{});
    EXPECT_EQ(messages(), (Lines{{information, tag, "sent M=ab L=0, 0"}}));
}

TEST_F(Socksend, DoesNotUseTextAsAFormat) {
    EXPECT_EQ(send("%n%s\n"), 5);
    EXPECT_EQ(socket_.received(), "%n%s\n");
    EXPECT_EQ(messages().back(), (LogLine{information, tag, "sent M=%n%s\n L=5, 5"}));
}

class ReportExitStatus : public Socksend {};

TEST_F(ReportExitStatus, SendsTheWordsTheNumberAndTheText) {
    script.status_texts[0] = "the requested operation was successfully completed";
    qas_report_exit_status(0, socket_.agent());
    EXPECT_EQ(socket_.received(), "EXIT STATUS 0 the requested operation was successfully completed\n");
}

TEST_F(ReportExitStatus, SendsAnyNumberInDecimal) {
    qas_report_exit_status(5784, socket_.agent());
    qas_report_exit_status(-7, socket_.agent());
    EXPECT_EQ(socket_.received(), "EXIT STATUS 5784 text of 5784\nEXIT STATUS -7 text of -7\n");
}

TEST_F(ReportExitStatus, KeepsALineOf511CharactersWhole) {
    script.status_texts[1] = std::string(496, 'x');
    qas_report_exit_status(1, socket_.agent());
    const std::string line = "EXIT STATUS 1 " + std::string(496, 'x') + "\n";
    EXPECT_EQ(line.size(), 511U);
    EXPECT_EQ(socket_.received(), line);
}

TEST_F(ReportExitStatus, CutsALongLineTo511CharactersAndLosesItsNewline) {
    script.status_texts[1] = std::string(600, 'x');
    qas_report_exit_status(1, socket_.agent());
    EXPECT_EQ(socket_.received(), "EXIT STATUS 1 " + std::string(497, 'x'));
    EXPECT_EQ(messages().front(), (LogLine{information, tag, "sent installment #1: 511 of 511"}));
}

TEST_F(ReportExitStatus, DoesNotUseTextAsAFormat) {
    script.status_texts[1] = "100%s %n";
    qas_report_exit_status(1, socket_.agent());
    EXPECT_EQ(socket_.received(), "EXIT STATUS 1 100%s %n\n");
}

TEST_F(ReportExitStatus, LogsOnlyThatItCouldNotBeSent) {
    overrides.writes = {{.accepted = -1, .error = EPIPE}};
    qas_report_exit_status(5796, socket_.agent());
    EXPECT_EQ(
        messages(),
        (Lines{{error, tag,
                "send failed, fatal I=1 M=EXIT STATUS 5796 text of 5796\n L=30 FD=" + fd() + " E=32 Broken pipe"}}));
}

}  // namespace
