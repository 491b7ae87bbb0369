#include "logging_config/text_lines.h"

#include <gtest/gtest.h>

namespace {

using std::string_view_literals::operator""sv;
using Lines = std::vector<std::string_view>;

TEST(SplitLines, GivesEachLineWithoutItsNewline) {
    EXPECT_EQ(split_lines("a\n\nb\n"), (Lines{"a", "", "b"}));
}

TEST(SplitLines, TakesALastLineWithoutANewlineForALine) {
    EXPECT_EQ(split_lines("a\nb"), (Lines{"a", "b"}));
}

TEST(SplitLines, GivesNoLineForTheEmptyText) {
    EXPECT_EQ(split_lines(""), Lines{});
}

TEST(SplitLines, KeepsEveryOtherByte) {
    EXPECT_EQ(split_lines("a\r\n \0b\t\n"sv), (Lines{"a\r", " \0b\t"sv}));
}

TEST(Contains, FindsATextAnywhere) {
    EXPECT_TRUE(contains("abc", "a"));
    EXPECT_TRUE(contains("abc", "bc"));
    EXPECT_TRUE(contains("\0bc"sv, "bc"));
    EXPECT_TRUE(contains("", ""));
    EXPECT_FALSE(contains("abc", "ac"));
    EXPECT_FALSE(contains("", "a"));
}

}  // namespace
