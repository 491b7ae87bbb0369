// The failed items of an answer, and what has no answer.
#include "request_command/answer_tally.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "request_command/unanswered_directories.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

AnswerCount count_of(const Texts& request, const std::string& answer, int status = 0) {
    AnswerTally tally(request);
    tally.add(answer);
    return tally.finish(status);
}

std::string description_of(const Texts& request, const std::string& answer, int status = 0) {
    return describe(count_of(request, answer, status));
}

TEST(AnswerTally, IsEmptyWhenNothingFailed) {
    EXPECT_EQ(description_of({"ENABLELOGGING", "VMCONF:a", "RK:b"},
                             "PROCESS=VMCONF:a STATUS=0 MSG=Set debug logging\nPROCESS=RK:b STATUS=0 MSG=x\n"),
              "");
    EXPECT_EQ(description_of({"FETCHFILE"}, ""), "");
    EXPECT_EQ(description_of({"CLEANUP", "/a"}, "CLEANUP: Successfully cleaned up /a\n"), "");
    EXPECT_EQ(description_of({"GETDISKSPACE", "/a"}, "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=1 MB TOTAL_SPACE=2 MB\n"),
              "");
}

TEST(AnswerTally, NamesTheItemsThatFailed) {
    EXPECT_EQ(description_of({"ENABLELOGGING", "VMCONF:a,b,c"},
                             "PROCESS=VMCONF:a STATUS=5803 MSG=no\nPROCESS=VMCONF:b STATUS=0 MSG=Set debug logging\n"
                             "PROCESS=VMCONF:c STATUS=-1 MSG=no\n"),
              "2 of 3 items failed: VMCONF:a, VMCONF:c; 0 things not answered");
}

TEST(AnswerTally, NamesItemsAlsoWithAnotherStatusThanZero) {
    EXPECT_EQ(description_of({"ENABLELOGGING", "FOO:1", "KOB:kob=5"},
                             "PROCESS=KOB:kob STATUS=256 MSG=failed to change KOB cfg\n", 256),
              "1 of 1 item failed: KOB:kob; 0 things not answered");
}

TEST(AnswerTally, CountsManyCategoriesInTheirOrder) {
    constexpr std::size_t many = 100000;
    Texts request = {"ENABLELOGGING"};
    std::string answer;
    for (std::size_t i = 1; i <= many; ++i) {
        request.push_back("CATEGORY" + std::to_string(i) + ":x");
        answer += i == 9 || i == 10 ? "" : "PROCESS=CATEGORY" + std::to_string(i) + ":x STATUS=0 MSG=x\n";
    }
    const AnswerCount count = count_of(request, answer);
    EXPECT_EQ(count.items, many - 2);
    EXPECT_THAT(count.unanswered, ElementsAre("CATEGORY9", "CATEGORY10"));
}

TEST(AnswerTally, NamesAtMostTenItems) {
    Texts request = {"ENABLELOGGING"};
    std::string answer;
    for (int i = 1; i <= 10; ++i) {
        request.push_back("VMCONF:" + std::to_string(i));
        answer += "PROCESS=VMCONF:" + std::to_string(i) + " STATUS=1 MSG=no\n";
    }
    const std::string ten =
        "VMCONF:1, VMCONF:2, VMCONF:3, VMCONF:4, VMCONF:5, VMCONF:6, VMCONF:7, VMCONF:8, VMCONF:9, "
        "VMCONF:10";
    EXPECT_EQ(description_of(request, answer), "10 of 10 items failed: " + ten + "; 0 things not answered");
    answer += "PROCESS=VMCONF:11 STATUS=1 MSG=no\nPROCESS=VMCONF:12 STATUS=0 MSG=Set\n";
    EXPECT_EQ(description_of(request, answer), "11 of 12 items failed: " + ten + " and 1 more; 0 things not answered");
}

TEST(AnswerTally, NamesEachCategoryWithoutAnAnswerOnce) {
    EXPECT_EQ(description_of({"ENABLELOGGING", "FOO:1", "VMCONF:a", "FOO:2", ":x", "BAR:", "KOB"},
                             "PROCESS=VMCONF:a STATUS=0 MSG=Set debug logging\n"),
              "0 of 1 item failed; 4 things not answered: FOO, \"\", BAR, KOB");
}

TEST(AnswerTally, CountsNoCategoryWhenTheStatusReportsTheFailure) {
    EXPECT_EQ(count_of({"ENABLELOGGING", "FOO:1", "VMCONF"}, "", 5822), AnswerCount());
}

TEST(AnswerTally, TakesALabelWithoutANameForItsCategory) {
    EXPECT_EQ(description_of({"ENABLELOGGING", "RKPLUGIN:x"},
                             "PROCESS=RKPLUGIN STATUS=1 MSG=Only 'rkplugin' is valid 'RKPLUGIN' log ID\n"
                             "PROCESS=RKPLUGIN:x STATUS=0 MSG=Set up x debug logging\n"),
              "1 of 2 items failed: RKPLUGIN; 0 things not answered");
    EXPECT_EQ(count_of({"ENABLELOGGING", "RKPLUGIN:x"}, "PROCESS=RKPLUGIN STATUS=1 MSG=no\n").not_answered, 0U);
}

TEST(AnswerTally, DoesNotConfuseCategories) {
    EXPECT_EQ(count_of({"ENABLELOGGING", "RK:x"}, "PROCESS=RKPLUGIN:x STATUS=0 MSG=Set\n").unanswered, Texts({"RK"}));
    EXPECT_EQ(count_of({"ENABLELOGGING", "RKPLUGIN:x"}, "PROCESS=RK:x STATUS=0 MSG=Set\n").unanswered,
              Texts({"RKPLUGIN"}));
}

TEST(AnswerTally, CountsAnItemWithoutStatusAsFailed) {
    EXPECT_EQ(count_of({"ENABLELOGGING", "VMCONF:a"}, "PROCESS=VMCONF:a\n").failed_names, Texts({"VMCONF:a"}));
    EXPECT_EQ(count_of({"ENABLELOGGING", "VMCONF:a"}, "PROCESS=VMCONF:a STATUS=").failed_names, Texts({"VMCONF:a"}));
    EXPECT_EQ(count_of({"ENABLELOGGING", "VMCONF:a"}, "PROCESS=VMCONF:a STATUS=00 MSG=").failed, 1U);
    EXPECT_EQ(count_of({"ENABLELOGGING", "VMCONF:a"}, "PROCESS=VMCONF:a STATUS=0").failed, 0U);
}

TEST(AnswerTally, IsNotMisledByAStatusInAValue) {
    EXPECT_EQ(count_of({"ENABLELOGGING", "VMCONF:a STATUS=0 MSG=x"},
                       "PROCESS=VMCONF:a STATUS=0 MSG=x STATUS=5803 MSG=Could not open\n")
                  .failed,
              1U);
}

TEST(AnswerTally, SplitsLinesThatTheBufferOfTheAgentCut) {
    for (const std::size_t length : {1023U, 2047U}) {
        const std::string cut = "PROCESS=MMLOGDIR:" + std::string(length - 17, 'n');
        const AnswerCount count =
            count_of({"ENABLELOGGING", "MMLOGDIR:n", "VMCONF:b"}, cut + cut + "PROCESS=VMCONF:b STATUS=0 MSG=Set\n");
        EXPECT_EQ(count.items, 3U);
        EXPECT_THAT(count.failed_names, ElementsAre(cut.substr(8), cut.substr(8)));
        EXPECT_THAT(count.unanswered, IsEmpty());
    }
}

TEST(AnswerTally, FindsAFailureAfterACutLine) {
    std::string cut = "PROCESS=ZMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=/";
    cut.resize(1023, 'd');
    EXPECT_EQ(description_of({"ENABLELOGGING", "ZMLOGDIR:a,b"}, cut + "PROCESS=ZMLOGDIR:b STATUS=1 MSG=Failed\n"),
              "1 of 2 items failed: ZMLOGDIR:b; 0 things not answered");
    // Not at the end of a buffer: this ambiguous line counts as one failed item.
    EXPECT_EQ(count_of({"ENABLELOGGING", "ZMLOGDIR:a,b"}, cut + "xPROCESS=ZMLOGDIR:b STATUS=1 MSG=Failed\n").failed,
              1U);
}

TEST(AnswerTally, CountsALineWithoutNewline) {
    EXPECT_EQ(count_of({"ENABLELOGGING", "VMCONF:a"}, "PROCESS=VMCONF:a STATUS=1 MSG=no").failed, 1U);
}

TEST(AnswerTally, IsTheSameForEverySplitOfTheAnswer) {
    std::string cut = "PROCESS=ZMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=/";
    cut.resize(1023, 'd');
    const Texts request = {"ENABLELOGGING", "ZMLOGDIR:a,b", "FOO:x"};
    const std::string answer = "\nPROCESS=ZMLOGDIR:b STATUS=0 MSG=x\n" + cut + "PROCESS=ZMLOGDIR:b STATUS=1 MSG=\nPROC";
    const AnswerCount whole = count_of(request, answer);
    for (std::size_t split = 0; split <= answer.size(); ++split) {
        AnswerTally tally(request);
        tally.add(answer.substr(0, split));
        tally.add(answer.substr(split));
        EXPECT_EQ(tally.finish(0), whole) << split;
    }
}

TEST(AnswerTally, CountsCleanUps) {
    EXPECT_EQ(description_of({"CLEANUP", "/a", "/b", "/c: d", "/e"},
                             "CLEANUP: Will not clean up unknown location: /a\n"
                             "CLEANUP: Failed to clean up /b: Directory not empty\n"
                             "CLEANUP: Failed to clean up /c: d: Directory not empty\n"
                             "CLEANUP: Successfully cleaned up /e\nCLEANUP: of another form\n"),
              "4 of 5 items failed: /a, /b, /c: d, of another form; 0 things not answered");
}

TEST(AnswerTally, CountsCleanUpsOnlyForTheirRequest) {
    EXPECT_EQ(count_of({"RUNZMSU"}, "CLEANUP: Failed to clean up /b: no\n").items, 0U);
}

TEST(AnswerTally, IgnoresTheOutputOfTools) {
    for (const char* word : {"zmsu", "zmcplogs", "ktlogcfg", "versioninfo"}) {
        EXPECT_EQ(count_of({word}, "PROCESS=VMCONF:a STATUS=1 MSG=no\n"), AnswerCount()) << word;
    }
}

TEST(AnswerTally, CountsTheForwardedAnswerOfAnotherHost) {
    EXPECT_EQ(count_of({"ZMLA", "-H", "inner", "ENABLELOGGING"}, "PROCESS=VMCONF:a STATUS=1 MSG=no\n").failed, 1U);
}

TEST(AnswerTally, CountsARequestWithoutArgumentsAsOneThing) {
    for (const char* word : {"ENABLELOGGING", "DISABLELOGGING", "RESETLOGGING", "GETDISKSPACE", "CLEANUP"}) {
        EXPECT_EQ(description_of({word}, ""),
                  "0 of 0 items failed; 1 thing not answered: " + std::string(word) + " without an argument");
    }
}

constexpr const char* space_of_a = "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=1 MB TOTAL_SPACE=2 MB\n";

TEST(AnswerTally, NamesDirectoriesWithoutSpaceWithAnyStatus) {
    for (const int status : {0, 5784}) {
        EXPECT_EQ(description_of({"GETDISKSPACE", "/x/y/z", "/a", "/b/c/d"}, space_of_a, status),
                  "0 of 0 items failed; 2 things not answered: /x/y/z, /b/c/d");
    }
}

TEST(AnswerTally, ReportsThatItDoesNotKnowTheMissingDirectory) {
    EXPECT_EQ(description_of({"GETDISKSPACE", "/a/x", "/a/y", "/b/c/d"}, space_of_a),
              "0 of 0 items failed; 2 things not answered, the answer does not say which of: /a/x, /a/y, /b/c/d");
}

TEST(AnswerTally, IgnoresACutSpaceLine) {
    EXPECT_EQ(count_of({"GETDISKSPACE", "/a"}, "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=").not_answered, 1U);
    EXPECT_EQ(count_of({"GETDISKSPACE", "/a"}, "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=1").not_answered, 1U);
    EXPECT_EQ(count_of({"GETDISKSPACE", "/a"}, "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=1 MB TOT").not_answered, 0U);
}

TEST(AnswerTally, FindsASpaceLineAfterACutOne) {
    const std::string cut = "CALCLOGSIZE: TARGET_DIR=/" + std::string(1023 - 25, 'd');
    EXPECT_EQ(count_of({"GETDISKSPACE", "/d", "/a"}, cut + space_of_a).unanswered, Texts({"/d"}));
}

TEST(AnswerTally, IgnoresTheAnswerToAnArgumentWithANewline) {
    EXPECT_EQ(count_of({"ENABLELOGGING", "RK:spoold=a\nPROCESS=FOO:x STATUS=0 MSG=b", "FOO:x"},
                       "PROCESS=RK:spoold STATUS=0 MSG=Set debug logging 'a\nPROCESS=FOO:x STATUS=0 MSG=b'\n")
                  .unanswered,
              Texts({"RK", "FOO"}));
    EXPECT_EQ(count_of({"GETDISKSPACE", "/missing/a\nCALCLOGSIZE: TARGET_DIR=/b FREE_SPACE=1 MB"},
                       "CALCLOGSIZE: TARGET_DIR=/missing/a\nCALCLOGSIZE: TARGET_DIR=/b FREE_SPACE=1 MB FREE_SPACE=3 MB "
                       "TOTAL_SPACE=4 MB\n")
                  .not_answered,
              1U);
    EXPECT_EQ(count_of({"CLEANUP", "/a\nCLEANUP: Successfully cleaned up b"},
                       "CLEANUP: Will not clean up unknown location: /a\nCLEANUP: Successfully cleaned up b\n")
                  .failed,
              1U);
}

TEST(AnswerTally, ShowsNoControlCharacters) {
    EXPECT_EQ(description_of({"ENABLELOGGING", "a\x1b[2J\\:x", "VMCONF:\xc2\x9b\xff"},
                             "PROCESS=VMCONF:\xc2\x9b\xff STATUS=1 MSG=no\n"),
              "1 of 1 item failed: VMCONF:\\xc2\\x9b\\xff; 1 thing not answered: a\\x1b[2J\\\\");
}

TEST(AnswerTally, ReadsOnlyTheBeginningOfAVeryLongLine) {
    EXPECT_EQ(count_of({"ZMLA"}, "PROCESS=A:x STATUS=0 MSG=" + std::string(100'000, 'y') + " STATUS=1 \nPROCESS=B:y\n"),
              (AnswerCount{.items = 2, .failed = 1, .failed_names = {"B:y"}, .not_answered = 0, .unanswered = {}}));
}

struct DirectoryCase {
    Texts asked;
    Texts measured;
    Texts unanswered;
};

const std::vector<DirectoryCase> directory_cases = {
    {{"/a"}, {}, {"/a"}},
    {{"/a", "/b"}, {"/a", "/b"}, {}},
    {{"/a/", "/b"}, {"/a"}, {"/b"}},
    {{"/", "/b"}, {"/"}, {"/", "/b"}},  // "/" is the parent of "/b"
    {{"/b/c", "/"}, {"/b"}, {"/"}},
    {{"x", "/b"}, {"."}, {"/b"}},
    {{"/a", "/a"}, {"/a"}, {"/a", "/a"}},
    {{"/a", "/b", "/c"}, {"/b"}, {"/a", "/c"}},
    {{"/a", "/b"}, {"/elsewhere"}, {"/a", "/b"}},
    {{"/a", "/p/x", "/b", "/p/y"}, {"/p", "/b"}, {"/a", "/p/y"}},
    {{"/p/x", "/p/y", "/b"}, {"/p", "/b"}, {"/p/x", "/p/y"}},
};

TEST(UnansweredDirectories, AreFoundByTheOrderOfTheAnswers) {
    for (const DirectoryCase& row : directory_cases) {
        EXPECT_EQ(unanswered_directories(row.asked, row.measured), row.unanswered) << row.asked.front();
    }
}

}  // namespace
