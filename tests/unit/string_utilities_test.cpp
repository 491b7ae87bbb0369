#include "agent/string_utilities.h"

#include <gtest/gtest.h>

namespace {

using Pieces = std::vector<std::string>;

TEST(TrimSpaces, RemovesBlanksTabsAndLineEndsAroundTheText) {
    EXPECT_EQ(trim_spaces("\t x \r\n"), "x");
    EXPECT_EQ(trim_spaces("\r\n\t \n x"), "x");
}

TEST(TrimSpaces, KeepsWhatIsBetweenTheFirstAndTheLastCharacter) {
    EXPECT_EQ(trim_spaces(" a \t\r\n b "), "a \t\r\n b");
}

TEST(TrimSpaces, KeepsEveryOtherByte) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        if (std::string(" \t\r\n").find(text) == std::string::npos) {
            EXPECT_EQ(trim_spaces(" " + text + " x " + text + " "), text + " x " + text) << byte;
        }
    }
}

TEST(TrimSpaces, ReturnsATextOfOnlyWhitespaceUnchanged) {
    EXPECT_EQ(trim_spaces("   "), "   ");
    EXPECT_EQ(trim_spaces(" \t\r\n"), " \t\r\n");
}

TEST(TrimSpaces, KeepsTheEmptyTextEmpty) {
    EXPECT_EQ(trim_spaces(""), "");
}

TEST(GetBasename, CutsATrimmedAbsolutePathAtItsLastSlash) {
    EXPECT_EQ(get_basename(" /usr/kumel/bin/tool "), "tool");
    EXPECT_EQ(get_basename("/tool"), "tool");
}

TEST(GetBasename, IsEmptyWhenAnAbsolutePathEndsInASlash) {
    EXPECT_EQ(get_basename("/usr/kumel/"), "");
    EXPECT_EQ(get_basename("/"), "");
}

TEST(GetBasename, CutsAnyOtherPathAtItsLastBackslash) {
    EXPECT_EQ(get_basename("C:\\dir\\file"), "file");
    EXPECT_EQ(get_basename(" C:\\dir\\file "), "file");
    EXPECT_EQ(get_basename("dir\\"), "");
}

TEST(GetBasename, PrefersTheSlashOfAnAbsolutePath) {
    EXPECT_EQ(get_basename("/dir/a\\b"), "a\\b");
}

TEST(GetBasename, CutsAtTheBackslashOfARelativePathWithSlashes) {
    EXPECT_EQ(get_basename("a/b\\c/d"), "c/d");
}

TEST(GetBasename, ReturnsARelativePathUnchanged) {
    EXPECT_EQ(get_basename("a/b"), "a/b");
    EXPECT_EQ(get_basename(" rel/name "), " rel/name ");
    EXPECT_EQ(get_basename(""), "");
    EXPECT_EQ(get_basename("  "), "  ");
}

TEST(SplitLhsRhs, SplitsAtTheFirstEqualsSign) {
    std::string lhs;
    std::string rhs;
    split_lhs_rhs("A=B=C", lhs, rhs);
    EXPECT_EQ(lhs, "A");
    EXPECT_EQ(rhs, "B=C");
}

TEST(SplitLhsRhs, DoesNotChangeTheRightSideWithoutAnEqualsSign) {
    std::string lhs = "old";
    std::string rhs = "before";
    split_lhs_rhs("A", lhs, rhs);
    EXPECT_EQ(lhs, "A");
    EXPECT_EQ(rhs, "before");
}

TEST(SplitLhsRhs, ReturnsAnEmptyRightSideForATrailingEqualsSign) {
    std::string lhs;
    std::string rhs = "before";
    split_lhs_rhs("A=", lhs, rhs);
    EXPECT_EQ(lhs, "A");
    EXPECT_EQ(rhs, "");
}

TEST(SplitLhsRhs, ReturnsAnEmptyLeftSideForALeadingEqualsSign) {
    std::string lhs = "old";
    std::string rhs;
    split_lhs_rhs("=B", lhs, rhs);
    EXPECT_EQ(lhs, "");
    EXPECT_EQ(rhs, "B");
}

TEST(SplitLhsRhs, TrimsNothing) {
    std::string lhs;
    std::string rhs;
    split_lhs_rhs(" A = B ", lhs, rhs);
    EXPECT_EQ(lhs, " A ");
    EXPECT_EQ(rhs, " B ");
}

TEST(SplitLhsRhs, TreatsTheEmptyTextAsAnEmptyLeftSide) {
    std::string lhs = "old";
    std::string rhs = "before";
    split_lhs_rhs("", lhs, rhs);
    EXPECT_EQ(lhs, "");
    EXPECT_EQ(rhs, "before");
}

TEST(Stringupper, ConvertsEveryByteWithToupper) {
    EXPECT_EQ(stringupper("tapeMgr_verbose-1"), "TAPEMGR_VERBOSE-1");
}

TEST(Stringupper, KeepsBytesWithoutAnUpperCaseForm) {
    EXPECT_EQ(stringupper("\xe4\xff{=}"), "\xe4\xff{=}");
    EXPECT_EQ(stringupper(""), "");
}

TEST(SplitString, ReturnsThePiecesBetweenTheDelimiters) {
    Pieces pieces;
    split_string("a-b-c", '-', pieces);
    EXPECT_EQ(pieces, (Pieces{"a", "b", "c"}));
}

TEST(SplitString, KeepsAnEmptyPieceBetweenDelimiters) {
    Pieces pieces;
    split_string("a--b", '-', pieces);
    EXPECT_EQ(pieces, (Pieces{"a", "", "b"}));
}

TEST(SplitString, KeepsEmptyPiecesAtBothEnds) {
    Pieces pieces;
    split_string("-a-", '-', pieces);
    EXPECT_EQ(pieces, (Pieces{"", "a", ""}));
}

TEST(SplitString, ReturnsOneEmptyPieceForTheEmptyText) {
    Pieces pieces;
    split_string("", '-', pieces);
    EXPECT_EQ(pieces, (Pieces{""}));
}

TEST(SplitString, AppendsToTheExistingPieces) {
    Pieces pieces = {"kept"};
    split_string("a,b", ',', pieces);
    EXPECT_EQ(pieces, (Pieces{"kept", "a", "b"}));
}

TEST(ValidHostType, IsTrueForTheThreeHostTypes) {
    EXPECT_TRUE(valid_host_type("MASTER"));
    EXPECT_TRUE(valid_host_type("MEDIA"));
    EXPECT_TRUE(valid_host_type("CLIENT"));
}

TEST(ValidHostType, IsFalseForAnyOtherText) {
    for (const char* text : {"", "master", "Media", "CLIENT ", "MASTERS", "SERVER"}) {
        EXPECT_FALSE(valid_host_type(text)) << text;
    }
}

}  // namespace
