// zmlogadm --json with a scripted peer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <ctime>
#include <thread>

#include "tests/request_command/answered_command.h"
#include "tests/request_command/json_lines.h"
#include "tests/support/scripted_peer.h"
#include "tests/support/test_files.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

Json output_object(const std::string& text) {
    return {{"type", "output"}, {"text", text}};
}

Json unended_object(const std::string& text) {
    return {{"type", "output"}, {"text", text}, {"newline", false}};
}

Json status_object(int status, const std::string& text, int items = 0, int failed = 0) {
    return {{"type", "status"}, {"status", status}, {"text", text},
            {"items", items},   {"failed", failed}, {"not_answered", 0}};
}

std::string this_host() {
    std::array<char, 256> name{};
    EXPECT_EQ(gethostname(name.data(), name.size()), 0);
    return name.data();
}

Json error_object(const std::string& code, const std::string& message, const std::string& host = this_host()) {
    return {{"type", "error"}, {"code", code}, {"message", message}, {"host", host}};
}

class JsonAnswer : public AnsweredCommand {
  protected:
    JsonAnswer() : AnsweredCommand({"--json"}) {}
};

TEST_F(JsonAnswer, HasAnObjectForEveryLineAndTheStatusLast) {
    const CommandRun run = run_with_answer(
        "PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=5 DIAG:111=6,111=6\n"
        "PROCESS=MMLOGDIR:ALL STATUS=1 MSG=Failed to create DIR=/usr/kumel/volmgr/debug E=13 (Permission denied)\n"
        "a tool's line\n"
        "\n"
        "EXIT STATUS 5772 a unified logging configuration could not be loaded\n");
    EXPECT_THAT(answer_lines(run.output),
                ElementsAre(Json{{"type", "process"},
                                 {"category", "ZMKTUL"},
                                 {"process", "111"},
                                 {"status", 0},
                                 {"message", "DEBUG:111=1,111=5 DIAG:111=6,111=6"},
                                 {"oid", 111},
                                 {"debug_before", 1},
                                 {"debug_after", 5},
                                 {"diagnostic_before", 6},
                                 {"diagnostic_after", 6}},
                            Json{{"type", "process"},
                                 {"category", "MMLOGDIR"},
                                 {"process", "ALL"},
                                 {"status", 1},
                                 {"message", "Failed to create"},
                                 {"directory", "/usr/kumel/volmgr/debug"},
                                 {"errno", 13},
                                 {"errno_text", "Permission denied"}},
                            output_object("a tool's line"), output_object(""),
                            status_object(5772, "a unified logging configuration could not be loaded", 2, 1)));
    EXPECT_EQ(run.errors, "zmlogadm: 1 of 2 items failed: MMLOGDIR:ALL; 0 things not answered\n");
    EXPECT_EQ(run.exit_status, 252);
}

// Returns the request object of the answer of a peer that is connected over TCP.
Json request_over_tcp(const std::string& word) {
    const PeerListener listener("127.0.0.1");
    Command command(listener.options() + Arguments{"--json", word});
    PeerConnection peer = command.await_connection(listener);
    static_cast<void>(peer.receive_request());
    peer.send("EXIT STATUS 0 done\n");
    peer.close();
    return json_lines(command.finish().output).at(0);
}

TEST_F(JsonAnswer, BeginsWithTheRequestThatWasSent) {
    write_tool(folder_.path("agent"), "request=$(head -c 14)\necho EXIT STATUS 0 done >&0\n");
    std::vector<Json> requests = {
        json_lines(run_command({"--json", "--agent", folder_.path("agent"), "CLEANUP"}).output).at(0),
        json_lines(run_with_answer("EXIT STATUS 0 done\n", nullptr, {"ZMLA", "-H", ""}).output).at(0),
        request_over_tcp("zmsu")};
    for (Json& request : requests) {
        request.erase("time");
    }
    const auto object = [](const std::string& host, const std::string& peer, const Arguments& words) {
        return Json{{"type", "request"}, {"format", 1}, {"host", host}, {"peer", peer}, {"request", words}};
    };
    EXPECT_THAT(requests,
                ElementsAre(object(this_host(), "local", {"CLEANUP"}),
                            object(this_host(), "socket", {"ZMLA", "-H", ""}), object("127.0.0.1", "tcp", {"zmsu"})));
}

TEST_F(JsonAnswer, HasTheTimeOfTheRequest) {
    const auto seconds_of = [](const std::string& time) {
        std::tm parts{};
        EXPECT_NE(strptime(time.c_str(), "%Y-%m-%dT%H:%M:%S", &parts), nullptr) << time;
        return timegm(&parts);
    };
    // Not time(), whose clock can be some milliseconds behind.
    const auto now = [] { return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); };
    const std::time_t before = now();
    const std::string time = json_lines(run_with_answer("EXIT STATUS 0 done\n").output).at(0).at("time");
    EXPECT_GE(seconds_of(time), before);
    EXPECT_LE(seconds_of(time), now());
}

TEST_F(JsonAnswer, EndsTheCommandWithTheExitStatusOfAPlainAnswer) {
    for (const auto& [status, exit_status] :
         std::vector<std::pair<int, int>>{{0, 0}, {1, 1}, {135, 135}, {254, 254}, {255, 252}, {5764, 252}, {-1, 252}}) {
        const CommandRun run = run_with_answer("EXIT STATUS " + std::to_string(status) + " text\n");
        EXPECT_THAT(answer_lines(run.output), ElementsAre(status_object(status, "text")));
        EXPECT_EQ(run.exit_status, exit_status);
    }
}

TEST_F(JsonAnswer, IsPrintedLineByLineAsItArrives) {
    Command command = start({"CLEANUP", "/a"});
    PeerConnection peer = command.await_connection(listener_);
    static_cast<void>(peer.receive_request());
    peer.send("CLEANUP: Successfully cleaned up /a\nhalf");
    command.await_output("{\"type\":\"cleanup\",\"result\":\"removed\",\"directory\":\"/a\"}\n");
    peer.send(" a line\n");
    command.await_output("{\"type\":\"output\",\"text\":\"half a line\"}\n");
    peer.send("EXIT STATUS 0 done\n");
    peer.close();
    EXPECT_EQ(answer_lines(command.finish().output).size(), 3U);
}

TEST_F(JsonAnswer, TakesALineThatWasCutBeforeTheStatusLineForOutput) {
    const CommandRun run = run_with_answer("PROCESS=VMCONF:a STATUS=0 MSG=Set debug logEXIT STATUS 3 no\n");
    EXPECT_THAT(answer_lines(run.output),
                ElementsAre(unended_object("PROCESS=VMCONF:a STATUS=0 MSG=Set debug log"), status_object(3, "no", 1)));
}

TEST_F(JsonAnswer, HasAToolsStatusLineAsOutput) {
    const CommandRun run = run_with_answer("EXIT STATUS 7 a tool's\n\nEXIT STATUS 3 no\n");
    EXPECT_THAT(answer_lines(run.output),
                ElementsAre(output_object("EXIT STATUS 7 a tool's"), output_object(""), status_object(3, "no")));
    EXPECT_EQ(run.exit_status, 3);
}

TEST_F(JsonAnswer, HasZeroBytesAndBytesThatAreNotText) {
    const CommandRun run = run_with_answer("\0a\xff\r\0\nEXIT STATUS 3 n\0\xfe\n"s);
    EXPECT_THAT(answer_lines(run.output),
                ElementsAre(Json{{"type", "output"}, {"text", "\0a\xef\xbf\xbd\r\0"s}, {"text_base64", "AGH/DQA="}},
                            Json{{"type", "status"},
                                 {"status", 3},
                                 {"text", "n\0\xef\xbf\xbd"s},
                                 {"text_base64", "bgD+"},
                                 {"items", 0},
                                 {"failed", 0},
                                 {"not_answered", 0}}));
}

TEST_F(JsonAnswer, LosesNothingOfAVeryLongLine) {
    const std::string line(3'000'000, 'y');
    Command command = start({"zmsu"});
    PeerConnection peer = command.await_connection(listener_);
    const std::jthread script([&] {
        static_cast<void>(peer.receive_request());
        peer.send(line + "\nEXIT STATUS 0 done\n");
        peer.close();
    });
    const CommandRun run = command.finish();
    const JsonLines lines = answer_lines(run.output);
    std::string text;
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        text += lines[i].at("text").get<std::string>();
        EXPECT_EQ(lines[i].value("newline", true), i + 2 == lines.size()) << i;
    }
    EXPECT_TRUE(text == line);
    EXPECT_EQ(lines.back(), status_object(0, "done"));
}

TEST_F(JsonAnswer, EndsWithAnErrorWithoutAStatusLine) {
    const CommandRun run = run_with_answer("one\ntwo, not ended EXIT STAT");
    EXPECT_THAT(answer_lines(run.output), ElementsAre(output_object("one"), unended_object("two, not ended EXIT STAT"),
                                                      error_object("no_status", "the answer has no status line")));
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(JsonAnswer, EndsWithAnErrorWithoutAnAnswer) {
    const CommandRun run = run_with_answer("");
    EXPECT_THAT(answer_lines(run.output), ElementsAre(error_object("no_status", "the answer has no status line")));
    EXPECT_EQ(run.exit_status, 255);
}

TEST(JsonAnswerOverTcp, EndsWithAnErrorWhenAResetCutsTheStatusLine) {
    const PeerListener listener("127.0.0.1");
    Command command(listener.options() + Arguments{"--json", "CLEANUP"});
    PeerConnection peer = command.await_connection(listener);
    static_cast<void>(peer.receive_request());
    peer.send("one\nEXIT STATUS 57");
    command.await_output("one");
    peer.reset();
    const CommandRun run = command.finish();
    EXPECT_THAT(
        answer_lines(run.output),
        ElementsAre(output_object("one"), unended_object("EXIT STATUS 57"),
                    error_object("no_status", "the answer has no status line: Connection reset by peer", "127.0.0.1")));
    EXPECT_EQ(run.errors, "zmlogadm: the answer has no status line: Connection reset by peer\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(JsonAnswer, IsOnlyAnErrorWithoutAConnection) {
    const CommandRun run = run_command({"--json", "-S", folder_.path("nobody"), "CLEANUP"});
    const std::string message = "cannot connect to " + folder_.path("nobody") + ": No such file or directory";
    EXPECT_THAT(json_lines(run.output), ElementsAre(error_object("connection_failed", message)));
    EXPECT_EQ(run.errors, "zmlogadm: " + message + "\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(JsonAnswer, IsOnlyAnErrorWhenNoAgentCanBeStarted) {
    const CommandRun run = run_command({"--json", "--agent", folder_.path("none"), "CLEANUP"});
    EXPECT_THAT(json_lines(run.output),
                ElementsAre(error_object("agent_not_started", "cannot start the agent " + folder_.path("none") +
                                                                  ": No such file or directory")));
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(JsonAnswer, ReportsTheEndOfAnAgentWithoutStatusLine) {
    write_tool(folder_.path("agent"), "request=$(head -c 14)\nexec >&0\necho one\nexit 11\n");
    const CommandRun run = run_command({"--json", "--agent", folder_.path("agent"), "CLEANUP"});
    EXPECT_THAT(
        answer_lines(run.output),
        ElementsAre(output_object("one"),
                    error_object("no_status", "the answer has no status line; the agent ended with exit status 11")));
}

TEST_F(JsonAnswer, IsOnlyAnErrorForARejectedCommandLine) {
    for (const Arguments& arguments :
         {Arguments{"--json"}, Arguments{"-x", "--json", "CLEANUP"}, Arguments{"-t", "0", "--js", "CLEANUP"},
          Arguments{"--json", "-H"}, Arguments{"--json", "CLEANUP", std::string(2048, 'x')}}) {
        const CommandRun run = run_command(arguments);
        const JsonLines lines = json_lines(run.output);
        ASSERT_EQ(lines.size(), 1U) << arguments[0];
        EXPECT_EQ(lines[0].at("type"), "error");
        EXPECT_EQ(lines[0].at("code"), "invalid_arguments");
        EXPECT_THAT(lines[0].at("message").get<std::string>(), EndsWith("(see zmlogadm --help)"));
        EXPECT_THAT(run.errors, EndsWith("zmlogadm: " + lines[0].at("message").get<std::string>() + "\n"));
        EXPECT_EQ(run.exit_status, 255);
    }
}

TEST_F(JsonAnswer, IsNotRequestedAfterTheWordOrAsAnotherOptionsValue) {
    for (const Arguments& arguments :
         {Arguments{"-t", "0", "CLEANUP", "--json"}, Arguments{"CLEANUP", "--json"},
          Arguments{"-t", "0", "--", "--json"}, Arguments{"-t", "0", "--agent", "--json", "CLEANUP"},
          Arguments{"-t", "0", "CLEANUP"}}) {
        EXPECT_EQ(run_command(arguments).output, "") << arguments.back();
    }
}

TEST_F(JsonAnswer, SendsTheSameRequestAsWithoutIt) {
    Command command = start({"ZMLA", "--json", "/a"});
    const PeerConnection peer = command.await_connection(listener_);
    EXPECT_EQ(peer.receive_request(), "1:3,4:ZMLA,6:--json,2:/a,");
    peer.send("EXIT STATUS 0 done\n");
    peer.stop_sending();
    EXPECT_EQ(peer.receive_to_end(), "");
    EXPECT_EQ(command.finish().exit_status, 0);
}

TEST_F(JsonAnswer, IsNotPrintedForHelpAndVersion) {
    EXPECT_THAT(run_command({"--json", "--help"}).output, StartsWith("Usage: "));
    EXPECT_THAT(run_command({"--json", "--version"}).output, StartsWith("zmlogadm "));
}

TEST_F(JsonAnswer, ReportsAFailureWithoutRoomOnStandardError) {
    const CommandRun run = run_command({"--json", "-S", "/none", "CLEANUP"}, with_output_to("/dev/full"));
    EXPECT_EQ(run.errors, "zmlogadm: cannot connect to /none: No such file or directory\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(JsonAnswer, FailsWhenTheStatusHasNoRoom) {
    const CommandRun run = run_with_answer("EXIT STATUS 0 done\n", with_output_to("/dev/full"));
    EXPECT_EQ(run.errors, "zmlogadm: cannot write to standard output: No space left on device\n");
    EXPECT_EQ(run.exit_status, 255);
}

TEST_F(JsonAnswer, KeepsSpellingRemarksOnStandardError) {
    const CommandRun run = run_with_answer("EXIT STATUS 5764 the command word is not valid\n", nullptr, {"CLENUP"});
    EXPECT_THAT(answer_lines(run.output), ElementsAre(status_object(5764, "the command word is not valid")));
    EXPECT_EQ(run.errors, "zmlogadm: CLENUP is not a known request word; did you mean CLEANUP?\n");
}

class MisspeltRequest : public JsonAnswer {};

TEST_F(MisspeltRequest, IsSentUnchangedWithARemark) {
    Command command(listener_.options() + Arguments{"Cleanup", "/a"});
    PeerConnection peer = command.await_connection(listener_);
    EXPECT_EQ(peer.receive_request(), "1:2,7:Cleanup,2:/a,");
    peer.send("EXIT STATUS 5764 no\n");
    peer.close();
    const CommandRun run = command.finish();
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors,
              "zmlogadm: Cleanup is not a known request word; did you mean CLEANUP?\nEXIT STATUS 5764 no\n");
    EXPECT_EQ(run.exit_status, 252);
}

TEST_F(MisspeltRequest, GetsNoRemarkWhenItIsRejected) {
    EXPECT_THAT(run_command({"-t", "0", "Cleanup"}).errors,
                testing::AllOf(HasSubstr("the time-out must be"), testing::Not(HasSubstr("did you mean"))));
}

}  // namespace
