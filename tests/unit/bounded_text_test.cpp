#include "agent/bounded_text.h"

#include <gtest/gtest.h>

namespace {

TEST(BoundedPrint, ReturnsATextThatFits) {
    EXPECT_EQ(bounded_print(16, "%s=%d", "answer", 42), "answer=42");
}

TEST(BoundedPrint, KeepsRoomForTheTerminator) {
    EXPECT_EQ(bounded_print(5, "%s", "abcd"), "abcd");
    EXPECT_EQ(bounded_print(4, "%s", "abcd"), "abc");
}

TEST(BoundedPrint, WritesAnEmptyTextToABufferOfOneByte) {
    EXPECT_EQ(bounded_print(1, "%s", "abcd"), "");
}

TEST(BoundedPrint, ReturnsAnEmptyTextForAnEmptyOne) {
    EXPECT_EQ(bounded_print(8, "%s", ""), "");
}

// This character cannot be converted in the C locale.
TEST(BoundedPrint, ReturnsAnEmptyTextForWhatCannotBePrinted) {
    EXPECT_EQ(bounded_print(16, "%s %ls", "text", L"\u20ac"), "");
}

TEST(BoundedCopy, ReturnsWhatFitsBeforeTheTerminator) {
    EXPECT_EQ(bounded_copy(5, "abcd"), "abcd");
    EXPECT_EQ(bounded_copy(4, "abcd"), "abc");
    EXPECT_EQ(bounded_copy(1, "abcd"), "");
}

}  // namespace
