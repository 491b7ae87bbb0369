#include "request_command/spelling.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "request_command/known_words.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(EditDistance, CountsInsertionsOmissionsReplacementsAndSwaps) {
    EXPECT_EQ(edit_distance("", ""), 0U);
    EXPECT_EQ(edit_distance("abc", "abc"), 0U);
    EXPECT_EQ(edit_distance("", "abc"), 3U);
    EXPECT_EQ(edit_distance("abc", ""), 3U);
    EXPECT_EQ(edit_distance("abc", "abxc"), 1U);
    EXPECT_EQ(edit_distance("abc", "ac"), 1U);
    EXPECT_EQ(edit_distance("abc", "axc"), 1U);
    EXPECT_EQ(edit_distance("abc", "acb"), 1U);
    EXPECT_EQ(edit_distance("abcd", "badc"), 2U);
    EXPECT_EQ(edit_distance("kitten", "sitting"), 3U);
}

TEST(EditDistance, CountsEditsBetweenSwappedLetters) {
    EXPECT_EQ(edit_distance("ca", "abc"), 2U);
    EXPECT_EQ(edit_distance("abc", "ca"), 2U);
    EXPECT_EQ(edit_distance("a cat", "an abct"), 3U);
}

TEST(EditDistance, AcceptsBytesOfAnyValue) {
    EXPECT_EQ(edit_distance("\xff\x80", "\x80\xff"), 1U);
}

TEST(NearestWords, HaveAtMostTwoEdits) {
    EXPECT_THAT(nearest_words("GETDISKSAPCE", {"GETDISKSPACE", "CLEANUP"}), ElementsAre("GETDISKSPACE"));
    EXPECT_THAT(nearest_words("CLAENPU", {"GETDISKSPACE", "CLEANUP"}), ElementsAre("CLEANUP"));
    EXPECT_THAT(nearest_words("CLAENPUX", {"GETDISKSPACE", "CLEANUP"}), IsEmpty());
    EXPECT_THAT(nearest_words("", {"GETDISKSPACE", "CLEANUP"}), IsEmpty());
}

TEST(NearestWords, HaveEditsInAtMostHalfOfTheirLetters) {
    EXPECT_THAT(nearest_words("KR", {"RK"}), ElementsAre("RK"));
    EXPECT_THAT(nearest_words("AB", {"RK"}), IsEmpty());
    EXPECT_THAT(nearest_words("KABC", {"KOB"}), IsEmpty());
}

TEST(NearestWords, MayDifferInLetterCase) {
    EXPECT_THAT(nearest_words("getdiskspace", {"GETDISKSPACE"}), ElementsAre("GETDISKSPACE"));
    EXPECT_THAT(nearest_words("ZMSU", {"zmsu", "ZMLA"}), ElementsAre("zmsu"));
    EXPECT_THAT(nearest_words("GetDiskSapce", {"GETDISKSPACE"}), ElementsAre("GETDISKSPACE"));
}

TEST(NearestWords, AreAllThatAreEquallyNear) {
    EXPECT_THAT(nearest_words("XMLOGDIR", {"ZMLOGDIR", "MMLOGDIR", "ZMKTUL"}), ElementsAre("ZMLOGDIR", "MMLOGDIR"));
}

TEST(NearestWords, AreNoneForAKnownWord) {
    EXPECT_THAT(nearest_words("ZMLOGDIR", {"MMLOGDIR", "ZMLOGDIR"}), IsEmpty());
}

TEST(SpellingRemarks, SuggestAWord) {
    EXPECT_THAT(spelling_remarks({"GETDISKSAPCE", "/tmp"}),
                ElementsAre("GETDISKSAPCE is not a known request word; did you mean GETDISKSPACE?"));
    EXPECT_THAT(spelling_remarks({"Enablelogging"}),
                ElementsAre("Enablelogging is not a known request word; did you mean ENABLELOGGING?"));
}

TEST(SpellingRemarks, SuggestATool) {
    EXPECT_THAT(spelling_remarks({"zmcplog"}),
                ElementsAre("zmcplog is not a known request word; did you mean zmcplogs?"));
    EXPECT_THAT(spelling_remarks({"VersionInfo"}),
                ElementsAre("VersionInfo is not a known request word; did you mean versioninfo?"));
}

TEST(SpellingRemarks, SuggestCategories) {
    EXPECT_THAT(spelling_remarks({"RESETLOGGING", "ZMKTLU:111", "VMCONF:vmd", "XMLOGDIR:a", "kob:kob=5"}),
                ElementsAre("ZMKTLU is not a known category; did you mean ZMKTUL?",
                            "XMLOGDIR is not a known category; did you mean ZMLOGDIR or MMLOGDIR?",
                            "kob is not a known category; did you mean KOB?"));
}

TEST(SpellingRemarks, SuggestCategoriesOnlyForLoggingWords) {
    for (const char* word : {"ZMLA", "CLEANUP", "zmsu", "NOTHINGLIKEIT"}) {
        EXPECT_THAT(spelling_remarks({word, "ZMKTLU:111"}), IsEmpty()) << word;
    }
}

TEST(SpellingRemarks, AreEmptyForWordsUnlikeAny) {
    EXPECT_THAT(spelling_remarks({"REBOOT"}), IsEmpty());
    EXPECT_THAT(spelling_remarks({std::string(2047, 'x')}), IsEmpty());
    EXPECT_THAT(spelling_remarks({""}), IsEmpty());
    EXPECT_THAT(spelling_remarks({"ENABLELOGGING", "WEBSERVER:111", ":", "ZMKTLU", ""}), IsEmpty());
}

TEST(SpellingRemarks, AreEmptyForKnownWordsAndCategories) {
    for (const KnownWord& word : known_words) {
        EXPECT_THAT(spelling_remarks({std::string(word.name)}), IsEmpty());
    }
    for (const KnownCategory& category : known_categories) {
        EXPECT_THAT(spelling_remarks({"ENABLELOGGING", std::string(category.name) + ":a"}), IsEmpty());
    }
}

}  // namespace
