// The tools of the other tests: the private root and the reader of the debug log.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/debug_log_lines.h"
#include "tests/support/private_root.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

TEST(PrivateRoot, HasAnEmptyPlaceForTheProduct) {
    make_product_tree();
    EXPECT_THAT(names_in("/opt"), testing::IsEmpty());
    EXPECT_THAT(names_in("/tmp"), testing::IsEmpty());
    EXPECT_FALSE(exists("/etc/rkregistry.cfg"));
    EXPECT_EQ(read_file(main_configuration), "SERVER = localhost\n");
}

TEST(PrivateRoot, ShowsTheFilesOfTheHost) {
    EXPECT_TRUE(std::filesystem::equivalent("/usr/bin", "/.host/usr/bin"));
    EXPECT_EQ(inside_path("/srv/tool"), "/.host/srv/tool");
    EXPECT_EQ(inside_path("/.host/srv/tool"), "/.host/srv/tool");
}

TEST(PrivateRoot, KeepsChangesFromTheHost) {
    write_file("/etc/rkregistry.cfg", "private");
    make_folder("/usr/kumel/private");
    write_file("/opt/private", "private");
    EXPECT_FALSE(exists("/.host/opt/private"));
    EXPECT_FALSE(exists("/.host/usr/kumel/private"));
    EXPECT_TRUE(!exists("/.host/etc/rkregistry.cfg") || read_file("/.host/etc/rkregistry.cfg") != "private");
}

TEST(LogPattern, MatchesTheSameText) {
    EXPECT_TRUE(matches_pattern("a (b) *", "a (b) *"));
    EXPECT_FALSE(matches_pattern("ab", "a"));
    EXPECT_FALSE(matches_pattern("a", "ab"));
    EXPECT_FALSE(matches_pattern("", "a"));
}

TEST(LogPattern, MatchesDigits) {
    EXPECT_TRUE(matches_pattern("PID=<digits>.", "PID=123."));
    EXPECT_FALSE(matches_pattern("PID=<digits>.", "PID=."));
    EXPECT_FALSE(matches_pattern("PID=<digits>.", "PID=-1."));
}

TEST(LogPattern, MatchesTextOfAnyLength) {
    EXPECT_TRUE(matches_pattern("(<text>) end", "(a) end) end"));
    EXPECT_FALSE(matches_pattern("(<text>) end", "() end"));
    EXPECT_FALSE(matches_pattern("(<text>) end", "(a) ends"));
}

TEST(LogPattern, MatchesOnlyTemporaryNames) {
    const std::string middle = "12345678901234567890123456789";
    EXPECT_TRUE(matches_pattern("/<temporary>/x", "/zmla-" + middle + "-az09bc/x"));
    EXPECT_FALSE(matches_pattern("/<temporary>", "/zmla-" + middle + "-AZ09BC"));
    EXPECT_FALSE(matches_pattern("/<temporary>", "/zmla-" + middle + "-az09b"));
    EXPECT_FALSE(matches_pattern("/<temporary>", "/zmla-x2345678901234567890123456789-az09bc"));
    EXPECT_FALSE(matches_pattern("/<temporary>", "/zmlb-" + middle + "-az09bc"));
}

TEST(DebugLogLines, AreParsed) {
    const std::vector<LogLine> lines =
        parse_debug_log("01:02:03.004 [56] <16> step: a: b\n01:02:03.005 [57] <4> : c\n");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].pid, 56);
    EXPECT_EQ(testing::PrintToString(lines[0]), "<16> step: a: b");
    EXPECT_EQ(testing::PrintToString(lines[1]), "<4> : c");
}

TEST(DebugLogLines, AreRejectedInAnotherForm) {
    for (const char* text :
         {"1:02:03.004 [56] <16> step: a\n", "01:02:03.04 [56] <16> step: a\n", "01:02:03.004 56 <16> step: a\n",
          "01:02:03.004 [56] 16 step: a\n", "01:02:03.004 [56] <16> step a\n", "01:02:03.004 [56] <16> step: a"}) {
        EXPECT_THROW(static_cast<void>(parse_debug_log(text)), std::runtime_error) << text;
    }
}
