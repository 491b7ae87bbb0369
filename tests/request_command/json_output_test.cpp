// The JSON objects of an answer, without a peer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "request_command/answer_output.h"
#include "tests/request_command/json_lines.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// Prints an answer into a text.
class JsonOutput : public testing::Test {
  protected:
    JsonOutput() { output_->prepare({.host = "here", .peer = "local", .words = {"GETDISKSPACE", "/tmp"}, .time = {}}); }

    void answer(const std::vector<std::string>& words) {
        output_->prepare({.host = "here", .peer = "local", .words = words, .time = {}});
    }

    // Returns the text, and checks that it consists of objects.
    void TearDown() override { static_cast<void>(lines()); }

    [[nodiscard]] JsonLines lines() const { return json_lines(text_); }

    std::string text_;
    std::unique_ptr<AnswerOutput> output_ = json_output([this](std::string_view text) {
        keep_objects(text);
        text_ += text;
    });
};

Json output_object(const std::string& text) {
    return {{"type", "output"}, {"text", text}};
}

Json unended_object(const std::string& text) {
    return {{"type", "output"}, {"text", text}, {"newline", false}};
}

TEST_F(JsonOutput, HasOneObjectInEachLine) {
    output_->print("one\ntwo\n");
    output_->finish({.line = {.text = "EXIT STATUS 5 it failed\n", .status = 5}, .count = {}});
    EXPECT_EQ(text_,
              "{\"type\":\"output\",\"text\":\"one\"}\n"
              "{\"type\":\"output\",\"text\":\"two\"}\n"
              "{\"type\":\"status\",\"status\":5,\"text\":\"it "
              "failed\",\"elapsed_ms\":0,\"items\":0,\"failed\":0,\"not_answered\":0}\n");
}

TEST_F(JsonOutput, BeginsWithTheRequest) {
    output_->prepare({.host = "backup7",
                      .peer = "tcp",
                      .words = {"ENABLELOGGING", "RK:\xe4=\n"},
                      .time = std::chrono::system_clock::time_point(std::chrono::milliseconds(1'795'303'805'042))});
    output_->start();
    EXPECT_EQ(text_, "");
    output_->print("one\n");
    EXPECT_EQ(text_,
              "{\"type\":\"request\",\"format\":1,\"host\":\"backup7\",\"peer\":\"tcp\","
              "\"request\":[\"ENABLELOGGING\",\"RK:\\ufffd=\\n\"],"
              "\"request_base64\":[\"RU5BQkxFTE9HR0lORw==\",\"Uks65D0K\"],"
              "\"time\":\"2026-11-21T23:30:05.042Z\"}\n"
              "{\"type\":\"output\",\"text\":\"one\"}\n");
}

TEST_F(JsonOutput, EndsWithTheCountsAndTheElapsedTime) {
    output_->finish(
        {.line = {.text = "EXIT STATUS 0 done\n", .status = 0},
         .count = {.items = 3, .failed = 2, .failed_names = {"A:1", "A:2"}, .not_answered = 1, .unanswered = {"FOO"}},
         .elapsed = std::chrono::milliseconds(1234)});
    EXPECT_EQ(text_,
              "{\"type\":\"status\",\"status\":0,\"text\":\"done\",\"elapsed_ms\":1234,\"items\":3,\"failed\":2,"
              "\"not_answered\":1,\"unanswered\":[\"FOO\"]}\n");
}

TEST_F(JsonOutput, ReportsAFailureBeforeAHostIsKnown) {
    std::string text;
    json_output([&](std::string_view bytes) { text += bytes; })->fail(FailureCode::invalid_arguments, "no");
    keep_objects(text);
    EXPECT_EQ(text, "{\"type\":\"error\",\"code\":\"invalid_arguments\",\"message\":\"no\"}\n");
}

TEST_F(JsonOutput, PrintsALineOnceItHasEnded) {
    output_->print("one\ntwo, not");
    EXPECT_THAT(lines(), ElementsAre(output_object("one")));
    output_->print(" ended\n");
    EXPECT_THAT(lines(), ElementsAre(output_object("one"), output_object("two, not ended")));
}

TEST_F(JsonOutput, IsTheSameForEverySplitOfTheAnswer) {
    const std::string answer =
        "one\n\nCALCLOGSIZE: TARGET_DIR=/tmp FREE_SPACE=7 MB TOTAL_SPACE=9 MB\nZMSU PACKAGE=/a\nlast";
    output_->print(answer);
    output_->finish({.line = {.text = "EXIT STATUS 0 done\n", .status = 0}, .count = {}});
    const std::string expected = text_;
    for (std::size_t split = 0; split <= answer.size(); ++split) {
        text_.clear();
        output_->print(answer.substr(0, split));
        output_->print(answer.substr(split));
        output_->finish({.line = {.text = "EXIT STATUS 0 done\n", .status = 0}, .count = {}});
        EXPECT_EQ(text_, expected) << split;
    }
}

TEST_F(JsonOutput, HasNumbersForNumbersAndTheTypeFirst) {
    output_->print("CALCLOGSIZE: TARGET_DIR=/tmp FREE_SPACE=7 MB TOTAL_SPACE=18446744073709551615 MB\n");
    EXPECT_EQ(text_, "{\"type\":\"space\",\"directory\":\"/tmp\",\"free_mib\":7,\"total_mib\":18446744073709551615}\n");
    text_.clear();
    output_->print("PROCESS=VMCONF:vmd STATUS=-3 MSG=Could not open file /a E=2 (No such file)\n");
    EXPECT_EQ(text_,
              "{\"type\":\"process\",\"category\":\"VMCONF\",\"process\":\"vmd\",\"status\":-3,"
              "\"message\":\"Could not open file /a\",\"errno\":2,\"errno_text\":\"No such file\"}\n");
}

TEST_F(JsonOutput, TakesALineOfAnyFormWithoutNewlineForOutput) {
    output_->print("PROCESS=VMCONF:vmd STATUS=0 MSG=Set debug log");
    output_->finish({.line = {.text = "EXIT STATUS 0 done\n", .status = 0}, .count = {}});
    EXPECT_EQ(lines().at(0), unended_object("PROCESS=VMCONF:vmd STATUS=0 MSG=Set debug log"));
}

TEST_F(JsonOutput, TakesEveryLineOfAToolForOutput) {
    answer({"zmsu"});
    output_->print("ZMSU PACKAGE=/a\n");
    EXPECT_THAT(lines(), ElementsAre(output_object("ZMSU PACKAGE=/a")));
}

TEST_F(JsonOutput, TakesEveryLineForOutputWhenAnArgumentHoldsANewline) {
    answer({"CLEANUP", "a\nCLEANUP: Successfully cleaned up b"});
    output_->print("CLEANUP: Will not clean up unknown location: a\nCLEANUP: Successfully cleaned up b\n");
    EXPECT_THAT(lines(), ElementsAre(output_object("CLEANUP: Will not clean up unknown location: a"),
                                     output_object("CLEANUP: Successfully cleaned up b")));
}

TEST_F(JsonOutput, HasTheBytesBesideATextThatIsNotUtf8) {
    output_->print("a\xff\x80z\n");
    EXPECT_EQ(text_, "{\"type\":\"output\",\"text\":\"a\\ufffd\\ufffdz\",\"text_base64\":\"Yf+Aeg==\"}\n");
    text_.clear();
    output_->print("ZMSU PACKAGE=/\xe4\n");
    EXPECT_EQ(text_, "{\"type\":\"package\",\"path\":\"/\\ufffd\",\"path_base64\":\"L+Q=\"}\n");
    text_.clear();
    output_->finish({.line = {.text = "EXIT STATUS 1 \xe4\n", .status = 1}, .count = {}});
    EXPECT_EQ(text_,
              "{\"type\":\"status\",\"status\":1,\"text\":\"\\ufffd\",\"text_base64\":\"5A==\",\"elapsed_ms\":0,"
              "\"items\":0,\"failed\":0,\"not_answered\":0}\n");
    text_.clear();
    output_->fail(FailureCode::system_failed, "no /\xe4");
    EXPECT_EQ(text_,
              "{\"type\":\"error\",\"code\":\"system_failed\",\"message\":\"no "
              "/\\ufffd\",\"message_base64\":\"bm8gL+Q=\",\"host\":\"here\"}\n");
}

TEST_F(JsonOutput, IsAsciiAndPrintable) {
    output_->print("a\0b\x1b[1m\x7f\r\t\"\\ \xc3\xa4 \xc2\x9b \xf0\x9f\x98\x80\n"s);
    EXPECT_EQ(
        text_,
        "{\"type\":\"output\",\"text\":\"a\\u0000b\\u001b[1m\\u007f\\r\\t\\\"\\\\ \\u00e4 \\u009b \\ud83d\\ude00\"}\n");
    EXPECT_EQ(lines().at(0).at("text"), "a\0b\x1b[1m\x7f\r\t\"\\ \xc3\xa4 \xc2\x9b \xf0\x9f\x98\x80"s);
}

// Joins the texts of the output objects of an answer.
std::string answer_of(const JsonLines& lines) {
    std::string answer;
    for (const Json& line : lines) {
        if (line.at("type") == "output") {
            answer += line.at("text").get<std::string>() + (line.value("newline", true) ? "\n" : "");
        }
    }
    return answer;
}

TEST_F(JsonOutput, BreaksAVeryLongLineIntoPieces) {
    const std::string answer = "x" + std::string(200'000, 'y') + "z\nshort\n";
    output_->print(answer);
    EXPECT_THAT(lines(),
                ElementsAre(unended_object(answer.substr(0, 65536)), unended_object(std::string(65536, 'y')),
                            unended_object(std::string(65536, 'y')),
                            output_object(std::string(200'002 - 3 * 65536 - 1, 'y') + "z"), output_object("short")));
    EXPECT_EQ(answer_of(lines()), answer);
}

TEST_F(JsonOutput, BreaksNoCharacterIntoPieces) {
    std::string answer = "x";
    while (answer.size() < 200'000) {
        answer += "\xe2\x82\xac";
    }
    output_->print(answer);
    output_->print("\n");
    EXPECT_EQ(answer_of(lines()), answer + "\n");
    EXPECT_EQ(text_.find("base64"), std::string::npos);
}

TEST_F(JsonOutput, KeepsALineOfTheLongestLengthWhole) {
    const std::string line(65536, 'y');
    output_->print(line);
    EXPECT_THAT(lines(), IsEmpty());
    output_->print("\n");
    EXPECT_THAT(lines(), ElementsAre(output_object(line)));
}

TEST_F(JsonOutput, TakesTheLastPieceOfALineOfAnyFormForOutput) {
    output_->print(std::string(65536, 'y') + "ZMSU PACKAGE=/a");
    text_.clear();
    output_->print("\nZMSU PACKAGE=/b\n");
    EXPECT_THAT(lines(), ElementsAre(output_object("ZMSU PACKAGE=/a"), Json({{"type", "package"}, {"path", "/b"}})));
}

TEST_F(JsonOutput, ReportsACutStatusLine) {
    output_->finish({.line = {.text = "EXIT STATUS 5 it fai", .status = 5}, .count = {}});
    EXPECT_THAT(lines(), ElementsAre(Json({{"type", "status"},
                                           {"status", 5},
                                           {"text", "it fai"},
                                           {"newline", false},
                                           {"elapsed_ms", 0},
                                           {"items", 0},
                                           {"failed", 0},
                                           {"not_answered", 0}})));
}

TEST_F(JsonOutput, ReportsAStatusWithoutText) {
    output_->finish({.line = {.text = "EXIT STATUS 12\n", .status = 12}, .count = {}});
    EXPECT_THAT(lines(), ElementsAre(Json({{"type", "status"},
                                           {"status", 12},
                                           {"text", ""},
                                           {"elapsed_ms", 0},
                                           {"items", 0},
                                           {"failed", 0},
                                           {"not_answered", 0}})));
}

TEST_F(JsonOutput, EndsWithAFailure) {
    output_->print("one\nhalf");
    output_->fail(FailureCode::no_status, "it broke");
    EXPECT_THAT(
        lines(),
        ElementsAre(output_object("one"), unended_object("half"),
                    Json({{"type", "error"}, {"code", "no_status"}, {"message", "it broke"}, {"host", "here"}})));
}

TEST(JsonOutputThatCannotBeWritten, StopsSilently) {
    int writes = 0;
    const auto output = json_output([&](std::string_view) {
        ++writes;
        throw std::runtime_error("no room");
    });
    EXPECT_THROW(output->print("one\n"), std::runtime_error);
    output->fail(FailureCode::output_failed, "no room");
    EXPECT_EQ(writes, 1);
}

TEST(PlainOutput, IsTheAnswerByteForByte) {
    std::string text;
    std::string status;
    const auto output =
        plain_output([&](std::string_view bytes) { text += bytes; }, [&](std::string_view bytes) { status += bytes; });
    output->start();
    output->print("a\0\xff\x1b"s);
    output->print("b");
    output->finish({.line = {.text = "EXIT STATUS 5 no", .status = 5}, .count = {}});
    output->fail(FailureCode::no_status, "not told here");
    EXPECT_EQ(text, "a\0\xff\x1b"s + "b");
    EXPECT_EQ(status, "EXIT STATUS 5 no");
}

}  // namespace
