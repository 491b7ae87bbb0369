#include "state_command/unified_diff.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <random>

#include "tests/state_command/state_test.h"
#include "tests/support/test_files.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Returns a text of a few different lines, so that many ways lead from one text to the other.
std::string random_text(std::mt19937& random) {
    std::string text;
    for (auto lines = random() % 30; lines != 0; --lines) {
        text += std::string(1, static_cast<char>('a' + random() % 4)) + "\n";
    }
    if (random() % 3 == 0 && !text.empty()) {
        text.pop_back();
    }
    return text;
}

std::size_t count_changes(const std::vector<std::string>& lines) {
    std::size_t changes = 0;
    for (const std::string& line : lines) {
        changes += line.starts_with('+') || line.starts_with('-') ? 1U : 0U;
    }
    return changes;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

}  // namespace

TEST(UnifiedDiff, OfTheSameTextsIsEmpty) {
    EXPECT_THAT(unified_diff("", ""), IsEmpty());
    EXPECT_THAT(unified_diff("a\nb", "a\nb"), IsEmpty());
}

TEST(UnifiedDiff, HasThreeLinesOfContext) {
    EXPECT_THAT(unified_diff("1\n2\n3\n4\n5\n6\n7\n8\n9\n", "1\n2\n3\n4\nx\n6\n7\n8\n9\n"),
                ElementsAre("@@ -2,7 +2,7 @@", " 2", " 3", " 4", "-5", "+x", " 6", " 7", " 8"));
}

TEST(UnifiedDiff, JoinsHunksThatTouchAndKeepsOthersApart) {
    EXPECT_THAT(unified_diff("a\n1\n2\n3\n4\n5\n6\nb\n", "A\n1\n2\n3\n4\n5\n6\nB\n"),
                ElementsAre("@@ -1,8 +1,8 @@", "-a", "+A", " 1", " 2", " 3", " 4", " 5", " 6", "-b", "+B"));
    EXPECT_THAT(
        unified_diff("a\n1\n2\n3\n4\n5\n6\n7\nb\n", "A\n1\n2\n3\n4\n5\n6\n7\nB\n"),
        ElementsAre("@@ -1,4 +1,4 @@", "-a", "+A", " 1", " 2", " 3", "@@ -6,4 +6,4 @@", " 5", " 6", " 7", "-b", "+B"));
}

TEST(UnifiedDiff, NamesTheLineBeforeAnEmptySide) {
    EXPECT_THAT(unified_diff("", "a\nb\n"), ElementsAre("@@ -0,0 +1,2 @@", "+a", "+b"));
    EXPECT_THAT(unified_diff("a\n", ""), ElementsAre("@@ -1 +0,0 @@", "-a"));
}

TEST(UnifiedDiff, MarksALastLineWithoutNewline) {
    EXPECT_THAT(unified_diff("a", "a\n"), ElementsAre("@@ -1 +1 @@", "-a", "\\ No newline at end of file", "+a"));
}

TEST(UnifiedDiff, OfTextsWithNothingInCommonReplacesAll) {
    std::string from;
    std::string to;
    for (int i = 0; i != 3000; ++i) {
        from += "a" + std::to_string(i) + "\n";
        to += "b" + std::to_string(i) + "\n";
    }
    const std::vector<std::string> lines = unified_diff(from, to);
    EXPECT_EQ(lines.size(), 6001U);
    EXPECT_EQ(lines.front(), "@@ -1,3000 +1,3000 @@");
}

// patch turns one text into the other, and diff finds no shorter way.
class UnifiedDiffOfRandomTexts : public StateTest {};

TEST_F(UnifiedDiffOfRandomTexts, IsAppliedByPatchAndNoLongerThanThatOfDiff) {
    std::mt19937 random(20240501);
    const ScratchFolder scratch;
    const auto at = [&](const char* name) { return scratch.path(name); };
    for (int round = 0; round != 300; ++round) {
        const std::string from = random_text(random);
        const std::string to = random_text(random);
        const std::vector<std::string> lines = unified_diff(from, to);
        write_file(at("from"), from);
        write_file(at("to"), to);
        if (from == to) {
            continue;
        }
        write_file(at("diff"), "--- from\n+++ from\n" + joined(lines));
        ASSERT_EQ(
            system(("diff --minimal -u " + at("from") + " " + at("to") + " | tail -n +3 > " + at("expected")).c_str()),
            0);
        EXPECT_EQ(count_changes(lines), count_changes(lines_of(read_file(at("expected"))))) << from << "---\n" << to;
        ASSERT_EQ(system(("cd " + scratch.path() + " && patch -s -o patched from diff").c_str()), 0) << joined(lines);
        EXPECT_EQ(read_file(at("patched")), to);
    }
}
