// Settings applied to the main configuration.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/library/statuses.h"
#include "platform/main_configuration.h"
#include "tests/platform/system_calls.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

using namespace std::string_literals;

struct Update {
    std::string before;
    std::string settings;
    std::string after;
};

const Update rows[] = {
    // Setting an existing key replaces its first line.
    {"KEY = old\n", "KEY=new", "KEY = new\n"},
    {"A = 1\nKEY = old\nB = 2\n", "KEY=new", "A = 1\nKEY = new\nB = 2\n"},
    {"KEY=old\n", "KEY=new", "KEY = new\n"},
    {" \tKEY\t=\t old \t\n", "KEY=new", "KEY = new\n"},
    {"KEY = \n", "KEY=new", "KEY = new\n"},
    {"KEY =\n", "KEY=new", "KEY = new\n"},
    {"KEY = a = b\n", "KEY=new", "KEY = new\n"},
    // The line is rewritten even when the value is the same.
    {"KEY=new\n", "KEY=new", "KEY = new\n"},
    {"KEY = new\r\n", "KEY=new", "KEY = new\n"},
    {" KEY = new\n", "KEY=new", "KEY = new\n"},
    {"KEY = new \n", "KEY=new", "KEY = new\n"},
    // Later lines of the key are removed.
    {"KEY = 1\nA = 1\nKEY = 2\nB = 2\nKEY = 3\n", "KEY=new", "KEY = new\nA = 1\nB = 2\n"},
    {"KEY = new\nKEY = new\n", "KEY=new", "KEY = new\n"},
    {"KEY = new\nkey = other\n", "KEY=new", "KEY = new\n"},
    // Keys match without regard to case; the key is written as given.
    {"key = old\n", "KEY=new", "KEY = new\n"},
    {"KEY = old\n", "key=new", "key = new\n"},
    {"KEY = new\n", "Key=new", "Key = new\n"},
    {"kEy = 1\nKeY = 2\n", "KEY=new", "KEY = new\n"},
    {"aZ = 1\nAz = 2\n", "AZ=new", "AZ = new\n"},
    {"AZ = 1\n", "az=new", "az = new\n"},
    {"z = 1\na = 2\n", "Z\nA=new\n", "A = new\n"},
    // A new key is added at the end.
    {"", "KEY=new", "KEY = new\n"},
    {"A = 1\n", "KEY=new", "A = 1\nKEY = new\n"},
    {"A = 1\n\n# end\n", "KEY=new", "A = 1\n\n# end\nKEY = new\n"},
    // In the order in which they first appeared.
    {"", "B=1\nA=2\nC=3\n", "B = 1\nA = 2\nC = 3\n"},
    {"", "B=1\nA=2\nB=3\n", "B = 3\nA = 2\n"},
    {"A = 0\n", "C=1\nA=2\nB=3\n", "A = 2\nC = 1\nB = 3\n"},
    {"", "B\nA=1\nB=2\n", "B = 2\nA = 1\n"},
    // Removing drops all lines of the key.
    {"KEY = old\n", "KEY", ""},
    {"A = 1\nKEY = 1\nB = 2\nkey = 2\nKEY=3\n", "KEY", "A = 1\nB = 2\n"},
    {"A = 1\nKEY = 1", "KEY", "A = 1\n"},
    {"A = 1\nB = 2\n", "a\nb", ""},
    // The last of several settings of one key counts.
    {"KEY = old\n", "KEY=1\nKEY=2\nKEY=3\n", "KEY = 3\n"},
    {"KEY = old\n", "KEY=1\nKEY\n", ""},
    {"KEY = old\n", "KEY\nKEY=2\n", "KEY = 2\n"},
    {"KEY = old\n", "KEY=1\nkey=2\n", "key = 2\n"},
    {"KEY = old\n", "KEY=1\nkey\n", ""},
    {"A = 1\n", "KEY=1\nKEY\n", "A = 1\n"},
    {"A = 1\n", "KEY\nKEY=2\n", "A = 1\nKEY = 2\n"},
    // Values.
    {"KEY = old\n", "KEY=", "KEY = \n"},
    {"", "KEY=", "KEY = \n"},
    {"", "KEY=a=b", "KEY = a=b\n"},
    {"", "KEY=\xc3\xa9\xff \"x\" # %s\\n", "KEY = \xc3\xa9\xff \"x\" # %s\\n\n"},
    {"", "VERBOSE=-2147483648", "VERBOSE = -2147483648\n"},
    {"", "VERBOSE=007", "VERBOSE = 007\n"},
    {"", "VERBOSE=-0", "VERBOSE = -0\n"},
    // A last line without a newline gets one.
    {"A = 1", "KEY=new", "A = 1\nKEY = new\n"},
    {"KEY = old", "KEY=new", "KEY = new\n"},
    {"KEY = old\nA = 1", "KEY=new", "KEY = new\nA = 1\n"},
    {"KEY = old\n# end", "KEY", "# end\n"},
    {"KEY = new\nkey = new", "KEY=new", "KEY = new\n"},
    // Every other byte stays.
    {"A = 1\r\nKEY = old\r\nB = 2\r\n", "KEY=new", "A = 1\r\nKEY = new\nB = 2\r\n"},
    {"#KEY = 1\n# KEY = 2\nKEY 3\nKEY\nKEY: 4\n= 5\nMY KEY = 6\nKEY2 = 7\n_KEY = 8\n\n \t\r\n", "KEY=new",
     "#KEY = 1\n# KEY = 2\nKEY 3\nKEY\nKEY: 4\n= 5\nMY KEY = 6\nKEY2 = 7\n_KEY = 8\n\n \t\r\nKEY = new\n"},
    {"\0\0KEY = 1\n\xff\xfe\x01\n\x80 = \0\nKEY = old\n\0"s, "KEY=new",
     "\0\0KEY = 1\n\xff\xfe\x01\n\x80 = \0\nKEY = new\n\0\n"s},
    {"A = \0 1\nKEY = \0\xff\n"s, "KEY=new", "A = \0 1\nKEY = new\n"s},
    {"\xef\xbb\xbfKEY = 1\n", "KEY=new", "\xef\xbb\xbfKEY = 1\nKEY = new\n"},
    {"@ = 1\n[ = 2\n` = 3\n{ = 4\nK@ = 5\nK[ = 6\nK` = 7\nK{ = 8\nK/ = 9\nK: = 10\n", "K=new",
     "@ = 1\n[ = 2\n` = 3\n{ = 4\nK@ = 5\nK[ = 6\nK` = 7\nK{ = 8\nK/ = 9\nK: = 10\nK = new\n"},
    {"SERVER = a\nKEY = old\nSERVER = b\nSERVER = a\n", "KEY=new", "SERVER = a\nKEY = new\nSERVER = b\nSERVER = a\n"},
    {"\n\n\nKEY = old\n\n\n", "KEY=new", "\n\n\nKEY = new\n\n\n"},
    // Several changes at once.
    {"A = 1\nB = 2\nC = 3\n", "C=33\nA\nD=4\nB=22\n", "B = 22\nC = 33\nD = 4\n"},
};

// Nothing changes, so nothing is written.
const Update rows_without_change[] = {
    {"KEY = new\n", "KEY=new", "KEY = new\n"},
    {"KEY = new", "KEY=new", "KEY = new"},
    {"A = 1\nKEY = new\r", "A=1", "A = 1\nKEY = new\r"},
    {"KEY = \n", "KEY=", "KEY = \n"},
    {"KEY = 1\n", "KEY=2\nKEY=1\n", "KEY = 1\n"},
    {"A = 1\nB = 2\n", "B=2\nA=1\n", "A = 1\nB = 2\n"},
    {"A = 1\n", "KEY", "A = 1\n"},
    {"A = 1", "KEY=1\nKEY\n", "A = 1"},
    {"", "KEY", ""},
    {"#KEY = 1\nKEY 2\n", "KEY", "#KEY = 1\nKEY 2\n"},
    {"A = 1\n", "", "A = 1\n"},
    {"A = 1", "", "A = 1"},
};

// Returns the status of the update.
int apply(std::string text) {
    ConfigRecord record{};
    EXPECT_EQ(ParseConfigExA(text.data(), &record, nullptr, 1), 0) << text;
    const int status = UpdateHostConfigExA(QRConfZMStandardServer, &record, nullptr, 0, 0, 0);
    FreeConfig(&record);
    return status;
}

}  // namespace

class ConfigurationUpdate : public ProductTest {
  protected:
    ConfigurationUpdate() { system_calls::reset(); }
};

TEST_F(ConfigurationUpdate, ChangesOnlyTheLinesOfItsKeys) {
    for (const Update& row : rows) {
        write_file(main_configuration, row.before);
        EXPECT_EQ(apply(row.settings), 0);
        EXPECT_EQ(read_file(main_configuration), row.after)
            << testing::PrintToString(row.before) << " with " << testing::PrintToString(row.settings);
    }
}

TEST_F(ConfigurationUpdate, ChangesNothingTheSecondTime) {
    for (const Update& row : rows) {
        write_file(main_configuration, row.before);
        EXPECT_EQ(apply(row.settings), 0);
        const ino_t file = state_of(main_configuration).st_ino;
        EXPECT_EQ(apply(row.settings), 0);
        EXPECT_EQ(state_of(main_configuration).st_ino, file) << testing::PrintToString(row.settings);
        EXPECT_EQ(read_file(main_configuration), row.after) << testing::PrintToString(row.settings);
    }
}

TEST_F(ConfigurationUpdate, DoesNotWriteAFileWhenNoLineChanges) {
    for (const Update& row : rows_without_change) {
        write_file(main_configuration, row.before);
        const struct stat before = state_of(main_configuration);
        system_calls::reset();
        EXPECT_EQ(apply(row.settings), 0);
        const struct stat after = state_of(main_configuration);
        EXPECT_EQ(after.st_ino, before.st_ino) << testing::PrintToString(row.before);
        EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
        EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
        EXPECT_EQ(read_file(main_configuration), row.after) << testing::PrintToString(row.before);
        for (const std::string& call : system_calls::journal) {
            EXPECT_NE(call, "write") << testing::PrintToString(row.before);
            EXPECT_NE(call, "rename") << testing::PrintToString(row.before);
        }
    }
}

TEST_F(ConfigurationUpdate, KeepsAFileOfManyLines) {
    std::string before;
    for (int i = 0; i < 20'000; ++i) {
        before += "KEY" + std::to_string(i) + " = value\n";
    }
    write_file(main_configuration, before + "LAST = old\n");
    EXPECT_EQ(apply("LAST=new"), 0);
    EXPECT_TRUE(read_file(main_configuration) == before + "LAST = new\n");
}

TEST_F(ConfigurationUpdate, AppliesManySettings) {
    std::string settings;
    std::string after = "SERVER = localhost\n";
    for (int i = 0; i < 20'000; ++i) {
        settings += "KEY" + std::to_string(i) + "=value\n";
        after += "KEY" + std::to_string(i) + " = value\n";
    }
    EXPECT_EQ(apply(settings), 0);
    EXPECT_TRUE(read_file(main_configuration) == after);
}

TEST_F(ConfigurationUpdate, AppliesARecordAgain) {
    char settings[] = "KEY=new";
    ConfigRecord record{};
    ASSERT_EQ(ParseConfigExA(settings, &record, nullptr, 1), 0);
    for (int i = 0; i < 2; ++i) {
        write_file(main_configuration, "KEY = old\n");
        EXPECT_EQ(UpdateHostConfigExA(QRConfZMStandardServer, &record, nullptr, 0, 0, 0), 0);
        EXPECT_EQ(read_file(main_configuration), "KEY = new\n");
    }
    FreeConfig(&record);
}

TEST_F(ConfigurationUpdate, IsRejectedForAnyConfigurationExceptTheStandardServers) {
    char settings[] = "KEY=new";
    ConfigRecord record{};
    ASSERT_EQ(ParseConfigExA(settings, &record, nullptr, 1), 0);
    write_file(main_configuration, "KEY = old\n");
    for (const int selector : {QRConfZMStandardServer - 1, QRConfZMStandardServer + 1, -1}) {
        EXPECT_EQ(UpdateHostConfigExA(selector, &record, nullptr, 0, 0, 0),
                  platform_library::status::configuration_not_updated + EINVAL)
            << selector;
    }
    EXPECT_EQ(read_file(main_configuration), "KEY = old\n");
    EXPECT_FALSE(exists(main_configuration + ".lock"));
    FreeConfig(&record);
}

TEST_F(ConfigurationUpdate, FailsWithoutAFile) {
    remove_tree(main_configuration);
    EXPECT_EQ(apply("KEY=new"), platform_library::status::configuration_not_updated + ENOENT);
    EXPECT_FALSE(exists(main_configuration));
}

// A later read returns what was set.
TEST_F(ConfigurationUpdate, IsReadAfterwards) {
    write_file(main_configuration, "verbose = 1\nVERBOSE = 2\n");
    EXPECT_EQ(apply("VERBOSE=5"), 0);
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_EQ(get_master_config_ptr()->VERBOSE, 5);
    EXPECT_EQ(apply("VERBOSE"), 0);
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_EQ(get_master_config_ptr()->VERBOSE, 0);
}

TEST_F(ConfigurationUpdate, DoesNotChangeWhatWasRead) {
    write_file(main_configuration, "VERBOSE = 1\n");
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_EQ(apply("VERBOSE=5"), 0);
    EXPECT_EQ(get_master_config_ptr()->VERBOSE, 1);
}
