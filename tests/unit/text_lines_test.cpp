#include "logging_config/text_lines.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string_view>;

TEST(SplitLines, ReturnsEachLineWithoutItsNewline) {
    EXPECT_EQ(split_lines("a\n\nb\n"), (Lines{"a", "", "b"}));
}

TEST(SplitLines, TreatsALastLineWithoutANewlineAsALine) {
    EXPECT_EQ(split_lines("a\nb"), (Lines{"a", "b"}));
}

TEST(SplitLines, ReturnsNoLineForTheEmptyText) {
    EXPECT_EQ(split_lines(""), Lines{});
}

TEST(SplitLines, KeepsEveryOtherByte) {
    const std::string zero_byte(1, '\0');
    const std::string line = " " + zero_byte + "b\t";
    const std::string text = "a\r\n" + line + "\n";
    EXPECT_EQ(split_lines(text), (Lines{"a\r", line}));
}

TEST(Contains, FindsATextAnywhere) {
    EXPECT_TRUE(contains("abc", "a"));
    EXPECT_TRUE(contains("abc", "bc"));
    EXPECT_TRUE(contains(std::string(1, '\0') + "bc", "bc"));
    EXPECT_TRUE(contains("", ""));
    EXPECT_FALSE(contains("abc", "ac"));
    EXPECT_FALSE(contains("", "a"));
}

}  // namespace
