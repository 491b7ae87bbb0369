#include "request_command/answer_splitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace std::string_literals;

// The parts of an answer.
struct Parts {
    std::string output;
    std::optional<std::string> status_line;
    std::optional<int> status;

    bool operator==(const Parts&) const = default;
};

void PrintTo(const Parts& parts, std::ostream* stream) {
    *stream << testing::PrintToString(parts.output) << " " << testing::PrintToString(parts.status_line) << " "
            << testing::PrintToString(parts.status);
}

// Collects the parts of an answer.
class SplitterRun {
  public:
    void take(std::string_view bytes) { splitter_.take(bytes); }

    [[nodiscard]] const std::string& output() const { return output_; }

    Parts finish(AnswerEnd end = AnswerEnd::complete) {
        const std::optional<StatusLine> line = splitter_.finish(end);
        if (!line) {
            return {.output = output_, .status_line = std::nullopt, .status = std::nullopt};
        }
        return {.output = output_, .status_line = line->text, .status = line->status};
    }

  private:
    std::string output_;
    AnswerSplitter splitter_{[this](std::string_view text) { output_ += text; }};
};

Parts print_whole(std::string_view answer, AnswerEnd end = AnswerEnd::complete) {
    SplitterRun splitter;
    splitter.take(answer);
    return splitter.finish(end);
}

struct Answer {
    std::string name;
    std::string output;
    std::string status_line;
    std::optional<int> status;

    [[nodiscard]] Parts parts() const {
        if (!status) {
            return {.output = output + status_line, .status_line = std::nullopt, .status = std::nullopt};
        }
        return {.output = output, .status_line = status_line, .status = status};
    }
    [[nodiscard]] std::string bytes() const { return output + status_line; }
};

// Returns a status line that the agent has cut.
std::string cut_line(const std::string& beginning) {
    return beginning + std::string(511 - beginning.size(), 'x');
}

const std::vector<Answer> answers = {
    {"Nothing", "", "", {}},
    {"NoOutput", "", "EXIT STATUS 0 done\n", 0},
    {"Lines", "one\ntwo\n", "EXIT STATUS 5 no\n", 5},
    {"NoText", "", "EXIT STATUS 12\n", 12},
    {"NoTextAndNoNewline", "one\n", "EXIT STATUS 12", 12},
    {"NoNewline", "one\n", "EXIT STATUS 12 some text", 12},
    {"NegativeStatus", "", "EXIT STATUS -3 below\n", -3},
    {"HugeStatus", "", "EXIT STATUS 99999999999999999999 much\n", INT_MAX},
    {"HugeNegativeStatus", "", "EXIT STATUS -99999999999999999999 little\n", INT_MIN},
    {"LineWithoutNewlineBefore", "a cut line", "EXIT STATUS 0 done\n", 0},
    {"BeginningOfMarkerBefore", "EXIT STATU", "EXIT STATUS 0 done\n", 0},
    {"MarkerBefore", "EXIT STATUS", "EXIT STATUS 0 done\n", 0},
    {"StatusLineBefore", "EXIT STATUS 7 a tool's\n\n", "EXIT STATUS 0 done\n", 0},
    {"StatusLineRightBefore", "EXIT STATUS 7 a tool's\n", "EXIT STATUS 0 done\n", 0},
    {"StatusLineWithoutNewlineBefore", "EXIT STATUS 7 ", "EXIT STATUS 0 done\n", 0},
    {"BeginningOfMarkerInText", "", "EXIT STATUS 1 EXIT STATU", 1},
    {"BytesThatAreNotText", "\0\xff\x80 \0EXIT\0STATUS"s, "EXIT STATUS 0 d\0\xff ne\n"s, 0},
    {"CutLine", "one\n", cut_line("EXIT STATUS 6 "), 6},
    {"CutLineAfterCutLine", std::string(1023, 'y'), cut_line("EXIT STATUS 6 "), 6},
    {"LongestWholeLine", "one\n", cut_line("EXIT STATUS 6 ").substr(0, 510) + "\n", 6},
    {"TooLongLine", "one\n", cut_line("EXIT STATUS 6 ") + "x", {}},
    {"OnlyOutput", "one\ntwo\n", "", {}},
    {"StatusLineFollowedByOutput", "EXIT STATUS 0 done\n", "more\n", {}},
    {"StatusLineFollowedByNewline", "EXIT STATUS 0 done\n", "\n", {}},
    {"OnlyAMarker", "one\nEXIT STATUS", "", {}},
    {"MarkerAndBlank", "one\nEXIT STATUS ", "", {}},
    {"MarkerAndSign", "one\nEXIT STATUS -", "", {}},
    {"MarkerAndNewline", "EXIT STATUS\n", "", {}},
    {"OnlyTheBeginningOfAMarker", "one\nEXIT STAT", "", {}},
    {"OtherCase", "exit status 0 done\n", "", {}},
    {"NoNumber", "EXIT STATUS unknown\n", "", {}},
    {"NumberWithPlus", "EXIT STATUS +5 done\n", "", {}},
    {"NumberWithTwoSigns", "EXIT STATUS --5 done\n", "", {}},
    {"NumberAfterTwoBlanks", "EXIT STATUS  5 done\n", "", {}},
    {"NumberFollowedByALetter", "EXIT STATUS 5x done\n", "", {}},
    {"NumberWithoutBlankBefore", "EXIT STATUS5 done\n", "", {}},
    {"NumberAfterAByteThatIsNotABlank", "EXIT STATUS:5 done\n", "", {}},
    {"MarkerWithoutANumberAfterAStatus", "EXIT STATUS 0 done; EXIT STATUS unknown\n", "", {}},
};

TEST(AnswerSplitter, SeparatesThePartsOfAWholeAnswer) {
    for (const Answer& answer : answers) {
        EXPECT_EQ(print_whole(answer.bytes()), answer.parts()) << answer.name;
    }
}

TEST(AnswerSplitter, SeparatesThePartsOfAnAnswerInTwoPieces) {
    for (const Answer& answer : answers) {
        const std::string bytes = answer.bytes();
        for (std::size_t split = 0; split <= bytes.size(); ++split) {
            SplitterRun splitter;
            splitter.take(std::string_view(bytes).substr(0, split));
            splitter.take(std::string_view(bytes).substr(split));
            EXPECT_EQ(splitter.finish(), answer.parts()) << answer.name << " split at " << split;
        }
    }
}

TEST(AnswerSplitter, SeparatesThePartsOfAnAnswerInSingleBytes) {
    for (const Answer& answer : answers) {
        SplitterRun splitter;
        for (const char byte : answer.bytes()) {
            splitter.take({&byte, 1});
        }
        EXPECT_EQ(splitter.finish(), answer.parts()) << answer.name;
    }
}

TEST(AnswerSplitter, PassesOutputAtOnce) {
    SplitterRun splitter;
    splitter.take("one\ntwo, not ended");
    EXPECT_EQ(splitter.output(), "one\ntwo, not ended");
}

TEST(AnswerSplitter, HoldsBackOnlyTheBeginningOfAMarker) {
    SplitterRun splitter;
    splitter.take("one EXIT STAT");
    EXPECT_EQ(splitter.output(), "one ");
    splitter.take("ION");
    EXPECT_EQ(splitter.output(), "one EXIT STATION");
}

TEST(AnswerSplitter, HoldsBackAStatusLineUntilMoreFollows) {
    SplitterRun splitter;
    splitter.take("one\nEXIT STATUS 0 done\n");
    splitter.take("");
    EXPECT_EQ(splitter.output(), "one\n");
}

TEST(AnswerSplitter, PassesAToolsStatusLineWhenMoreFollows) {
    SplitterRun splitter;
    splitter.take("EXIT STATUS 0 done\n");
    splitter.take("m");
    EXPECT_EQ(splitter.output(), "EXIT STATUS 0 done\nm");
}

TEST(AnswerSplitter, PassesAMarkerWhenNoNumberFollows) {
    SplitterRun splitter;
    splitter.take("EXIT STATUS o");
    EXPECT_EQ(splitter.output(), "EXIT STATUS o");
}

TEST(AnswerSplitter, PassesAStatusLineWhenAnotherBegins) {
    SplitterRun splitter;
    splitter.take("EXIT STATUS 7 cut EXIT STATUS");
    EXPECT_EQ(splitter.output(), "EXIT STATUS 7 cut ");
}

TEST(AnswerSplitter, PassesALineWhenItIsTooLongForAStatusLine) {
    SplitterRun splitter;
    const std::string line = cut_line("EXIT STATUS 6 ");
    splitter.take(line);
    EXPECT_EQ(splitter.output(), "");
    splitter.take("x");
    EXPECT_EQ(splitter.output(), line + "x");
}

TEST(AnswerSplitter, AcceptsAWholeStatusLineFromABrokenConnection) {
    EXPECT_EQ(print_whole("one\nEXIT STATUS 5 no\n", AnswerEnd::broken),
              (Parts{.output = "one\n", .status_line = "EXIT STATUS 5 no\n", .status = 5}));
}

TEST(AnswerSplitter, AcceptsALineOfFullLengthFromABrokenConnection) {
    const std::string line = cut_line("EXIT STATUS 5 ");
    EXPECT_EQ(print_whole(line, AnswerEnd::broken), (Parts{.output = "", .status_line = line, .status = 5}));
}

TEST(AnswerSplitter, TakesALineThatABrokenConnectionMayHaveCutForOutput) {
    EXPECT_EQ(print_whole("one\nEXIT STATUS 57", AnswerEnd::broken),
              (Parts{.output = "one\nEXIT STATUS 57", .status_line = std::nullopt, .status = std::nullopt}));
}

}  // namespace
