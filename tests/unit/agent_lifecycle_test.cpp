// How the agent prepares its process, answers one request and ends.
#include "tests/unit/agent_lifecycle.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "agent/globals.h"
#include "tests/support/call_journal.h"

// The linker makes these names, because mywinsock_start is wrapped: calls of it are recorded.
// NOLINTBEGIN(bugprone-reserved-identifier)
void real_winsock_start() __asm__("__real__Z15mywinsock_startv");
void recorded_winsock_start() __asm__("__wrap__Z15mywinsock_startv");
// NOLINTEND(bugprone-reserved-identifier)

void recorded_winsock_start() {
    call_journal::append(call_journal::Kind::call, {"mywinsock_start"});
    real_winsock_start();
}

namespace {

using log_level::error;
using log_level::information;
using recording_platform::calls;
using recording_platform::calls_of;
using recording_platform::child_messages;
using recording_platform::child_messages_under;

TEST_F(AgentLifecycle, PreparesTheProcessInOrder) {
    const int next = next_descriptor();
    request({"FETCHFILE"});
    EXPECT_EQ(run(), 0);
    const std::string socket = number(next);
    const Texts expected = {"umask 18",
                            "mywinsock_start",
                            "open /dev/null",
                            "dup2 " + socket + " 1",
                            "open /dev/null",
                            "dup2 " + socket + " 2",
                            "dup 0",
                            "open /dev/null",
                            "dup2 " + number(next + 1) + " 0",
                            "ZM_read_master_config",
                            "open_debug_log /usr/kumel/zembrath/logs zmlogadmagent zmlogadmagent 438 0",
                            "signal 13 ignored",
                            "signal 17 default",
                            "xnet_verify_peer_creds " + socket + " 1515015233 1 0 0 null 60",
                            "xnet_get_max_timeout",
                            "get_long " + socket + " 300 0",
                            "xnet_get_max_timeout",
                            "get_string " + socket + " cleared 2047 301"};
    Texts first_calls = calls();
    first_calls.resize(expected.size());  // later calls end the process
    EXPECT_EQ(first_calls, expected);
}

TEST_F(AgentLifecycle, MovesTheSocketAwayFromTheStandardStreams) {
    const int next = next_descriptor();
    script.during_verification = [&] {
        for (const int fd : {0, 1, 2, next}) {
            const std::string target = std::filesystem::read_symlink("/proc/self/fd/" + number(fd));
            call_journal::append(call_journal::Kind::call, {"descriptor " + number(fd) + " " + target});
        }
    };
    request({"FETCHFILE"});
    run();
    const Texts descriptors = calls_of("descriptor");
    ASSERT_EQ(descriptors.size(), 4U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(descriptors[i].ends_with("/dev/null")) << descriptors[i];
    }
    EXPECT_NE(descriptors[3].find(" socket:"), std::string::npos) << descriptors[3];
}

TEST_F(AgentLifecycle, KeepsTheDescriptorOfTheDebugLog) {
    script.debug_log_descriptor = 4711;
    script.during_verification = [] { call_journal::append(call_journal::Kind::call, {"debugFD " + number(debugFD)}); };
    request({"FETCHFILE"});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(calls_of("debugFD"), (Texts{"debugFD 4711"}));
}

TEST_F(AgentLifecycle, ServesOneRequestFromReceptionToTheStatusLine) {
    request({"FETCHFILE", "x"});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 0 text of 0\n");
    const std::string line = "EXIT STATUS 0 text of 0\n";
    EXPECT_EQ(child_messages(),
              (Lines{{information, "setup_comms_w_client", "verified credentials of peer"},
                     {information, "receive_inputs_from_client", "string from peer C=FETCHFILE"},
                     {information, "receive_inputs_from_client", "string from peer C=x"},
                     {information, "process_request", "processing request R=FETCHFILE"},
                     {information, "is_cmd_valid", "command is valid C=FETCHFILE"},
                     {error, "perform_request_send_output", "Command FETCHFILE is not supported"},
                     {information, program, "closing peer SOCK (" + number(next_descriptor()) + ") in QAS NSC=0"},
                     {information, "socksend", "sent installment #1: 24 of 24"},
                     {information, "socksend", "sent M=" + line + " L=24, 24"}}));
}

TEST_F(AgentLifecycle, EndsWith11WhenStdoutWasClosed) {
    EXPECT_EQ(run([] { close(STDOUT_FILENO); }), 11);
    EXPECT_EQ(child_messages(), (Lines{{error, "redirect_fd", "Can't redirect fd to itself FD=1"}}));
    EXPECT_EQ(calls_of("ZM_read_master_config"), Texts{});
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(AgentLifecycle, EndsWith12WhenStderrWasClosed) {
    EXPECT_EQ(run([] { close(STDERR_FILENO); }), 12);
    EXPECT_EQ(child_messages(), (Lines{{error, "redirect_fd", "Can't redirect fd to itself FD=2"}}));
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(AgentLifecycle, EndsWith17WithoutAMessageWhenStdinWasClosed) {
    EXPECT_EQ(run([] { close(STDIN_FILENO); }), 17);
    EXPECT_EQ(child_messages(), Lines{});
    EXPECT_EQ(calls_of("ZM_read_master_config"), Texts{});
}

TEST_F(AgentLifecycle, EndsWith17WhenTheSocketCannotBeDuplicated) {
    failures["dup"] = {EMFILE};
    EXPECT_EQ(run(), 17);
    EXPECT_EQ(child_messages(), Lines{});
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(AgentLifecycle, EndsWithItsOwnStatusForEachStreamThatCannotBeRedirected) {
    const std::vector<int> statuses = {11, 12, 18};
    for (std::size_t opens = 0; opens < 3; ++opens) {
        failures["open /dev/null"] = always_after(opens, ENFILE);
        EXPECT_EQ(run(), statuses[opens]);
        EXPECT_EQ(child_messages(), (Lines{{error, "redirect_fd", "failed to open /dev/null"}}));
        EXPECT_EQ(calls_of("ZM_read_master_config"), Texts{});
    }
    EXPECT_EQ(socket_.received(), "");
}

TEST_F(AgentLifecycle, SendsNothingWhenTheConfigurationCannotBeRead) {
    script.configuration_unreadable = 25;
    EXPECT_EQ(run(), 25);
    EXPECT_EQ(socket_.received(), "");
    EXPECT_EQ(child_messages(), (Lines{{error, program, "failed to read qr.conf SC=25"}}));
    EXPECT_EQ(calls_of("open_debug_log").size(), 1U);
    EXPECT_EQ(calls_of("xnet_verify_peer_creds"), Texts{});
}

TEST_F(AgentLifecycle, EndsWith252WhenTheStatusOfTheConfigurationIsTooLarge) {
    script.configuration_unreadable = 5000;
    EXPECT_EQ(run(), 252);
}

TEST_F(AgentLifecycle, ContinuesWithoutADebugLog) {
    script.debug_log_descriptor = -1;
    request({"FETCHFILE"});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 0 text of 0\n");
}

TEST_F(AgentLifecycle, SendsThePeerTheStatusOfAFailedVerification) {
    script.verification_fails = 46;
    EXPECT_EQ(run(), 46);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 46 text of 46\n");
    const Lines lines = child_messages();
    EXPECT_EQ(lines.at(0), (LogLine{error, "setup_comms_w_client", "failed to accept connection SC=46 (text of 46)"}));
    EXPECT_EQ(lines.at(1), (LogLine{error, program, "client communication setup failed SC=46"}));
    EXPECT_EQ(calls_of("get_long"), Texts{});
}

TEST_F(AgentLifecycle, SendsOneLineToAHostThatIsNotInTheServerList) {
    script.peer_flags = 0x40;
    EXPECT_EQ(run(), 252);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 5762 text of 5762\n");
    EXPECT_EQ(child_messages().at(1), (LogLine{error, program, "client communication setup failed SC=5762"}));
}

TEST_F(AgentLifecycle, EndsWith135ForAPeerThatIsNotRoot) {
    script.peer_flags = 0x2;
    EXPECT_EQ(run(), 135);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 135 text of 135\n");
    EXPECT_EQ(child_messages().at(1), (LogLine{error, program, "client communication setup failed SC=135"}));
}

TEST_F(AgentLifecycle, SendsThePeerTheStatusOfARequestThatWasNotReceived) {
    script.framed_reads = {recording_platform::framed_failure(0, ETIMEDOUT)};
    EXPECT_EQ(run(), 252);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 5763 text of 5763\n");
    const Lines lines = child_messages();
    ASSERT_GE(lines.size(), 3U);
    // The message is logged before the peer gets the status.
    EXPECT_EQ(lines.at(lines.size() - 3), (LogLine{error, program, "failed to receive args SC=5763"}));
    EXPECT_EQ(lines.at(lines.size() - 2).tag, "socksend");
    EXPECT_EQ(lines.at(lines.size() - 1).tag, "socksend");
}

TEST_F(AgentLifecycle, AnswersAnInvalidWordWithItsStatus) {
    request({"runzmsu"});
    EXPECT_EQ(run(), 5764 % 256);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 5764 text of 5764\n");
    EXPECT_EQ(child_messages_under(program),
              (Lines{{information, program, "closing peer SOCK (" + number(next_descriptor()) + ") in QAS NSC=5764"}}));
    EXPECT_EQ(child_messages_under("is_cmd_valid").size(), 1U);
}

TEST_F(AgentLifecycle, RunsTheToolOfAnExternalWord) {
    write_tool(support + "old_zmsu", "echo \"tool $1\"\nexit 3\n");
    request({"zmsu", "-v"});
    EXPECT_EQ(run(), 3);
    EXPECT_EQ(socket_.received(), "tool -v\n\nEXIT STATUS 3 text of 3\n");
    EXPECT_EQ(child_messages_under("perform_cleanup_on_failure"), Lines{});
}

TEST_F(AgentLifecycle, PassesNoDescriptorOfTheNetworkServiceToATool) {
    const int socket = next_descriptor();
    write_tool(support + "old_zmsu", "for fd; do [ -e /proc/$$/fd/$fd ] && echo open || echo closed; done\n");
    request({"zmsu", number(socket), "3", "300"});
    const int status = run([] {
        dup3(STDOUT_FILENO, 3, 0);
        dup3(STDOUT_FILENO, 300, 0);
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(socket_.received(), "open\nclosed\nclosed\n\nEXIT STATUS 0 text of 0\n");
    EXPECT_NE(socket, 3);
}

TEST_F(AgentLifecycle, WaitsForItsToolEvenWhenTheNetworkServiceIgnoresItsChildren) {
    write_tool(support + "old_zmsu", "exit 3\n");
    request({"zmsu"});
    EXPECT_EQ(run([] { signal(SIGCHLD, SIG_IGN); }), 3);
    EXPECT_EQ(socket_.received(), "\nEXIT STATUS 3 text of 3\n");
}

TEST_F(AgentLifecycle, DiscardsWhatARejectedPeerHasSent) {
    script.peer_flags = 0x40;
    socket_.peer_sends(std::string(50'000, 'x'));
    EXPECT_EQ(run(), 252);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 5762 text of 5762\n");
    EXPECT_EQ(socket_.left_for_agent(), "");
}

TEST_F(AgentLifecycle, DoesNotReadForeverFromAPeerThatKeepsSending) {
    request({"FETCHFILE"});
    overrides.bytes_without_end = true;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(calls_of("recv").size(), 256U);
}

TEST_F(AgentLifecycle, ReturnsALargeStatusUnchangedSoThatItsLowEightBitsRemain) {
    request({"GETDISKSPACE", "/missing/folder"});
    EXPECT_EQ(run(), 152);
    EXPECT_EQ(socket_.received(), "EXIT STATUS 5784 text of 5784\n");
    EXPECT_EQ(child_messages_under(program).size(), 1U);
}

TEST_F(AgentLifecycle, SurvivesAPeerThatHasGone) {
    socket_.peer_closes();
    request({"GETDISKSPACE", "/missing/folder"});
    EXPECT_EQ(run(), 152);
    EXPECT_TRUE(child_messages().back().text.starts_with("send failed, fatal I=1 M=EXIT STATUS 5784"));
}

}  // namespace
