// Reading the main configuration.
#include "platform/main_configuration.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <string>

#include "platform/network.h"
#include "tests/platform/child_process.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

class MainConfiguration : public ProductTest {};

namespace {

using namespace std::string_literals;

struct Verbosity {
    std::string configuration;
    int verbosity;
};

const Verbosity rows[] = {
    {"", 0},
    {"SERVER = localhost\n", 0},
    // Shapes of a line.
    {"VERBOSE = 5\n", 5},
    {"VERBOSE = 5", 5},
    {"VERBOSE=5\n", 5},
    {"VERBOSE =5\n", 5},
    {"VERBOSE= 5\n", 5},
    {"  VERBOSE  =  5  \n", 5},
    {"\tVERBOSE\t=\t5\t\n", 5},
    {"VERBOSE = 5\r\n", 5},
    {"\rVERBOSE\r=\r5\r\n", 5},
    {" \t\r VERBOSE \r\t = \t\r 5 \t\r \n", 5},
    {"verbose = 5\n", 5},
    {"Verbose = 5\n", 5},
    {"vERBOSE = 5\n", 5},
    // Lines that are not entries.
    {"#VERBOSE = 5\n", 0},
    {"# VERBOSE = 5\n", 0},
    {"VERBOSE 5\n", 0},
    {"VERBOSE\n", 0},
    {"VERBOSE: 5\n", 0},
    {"= 5\n", 0},
    {"9VERBOSE = 5\n", 0},
    {"_VERBOSE = 5\n", 0},
    {"VERBOSE_ = 5\n", 0},
    {"MY_VERBOSE = 5\n", 0},
    {"VERBOSE2 = 5\n", 0},
    {"VERBOSE OF = 5\n", 0},
    {"VERBOSE-A = 5\n", 0},
    {"VERBOSE\v= 5\n", 0},
    {"\f VERBOSE = 5\n", 0},
    {"VERBOSE\0 = 5\n"s, 0},
    {"\xef\xbb\xbfVERBOSE = 5\n", 0},
    {"V\xc3\x89RBOSE = 5\n", 0},
    // Lines of other shapes around an entry.
    {"\n\n   \n\t\r\n# remark\nno entry\n= 1\n9 = 2\n\0\xff\nVERBOSE = 5\n\n"s, 5},
    {"KEY = \"VERBOSE = 9\"\nVERBOSE = 5\n", 5},
    {"KEY = VERBOSE\n= 9\nVERBOSE = 5\n", 5},
    // The first line counts.
    {"VERBOSE = 5\nVERBOSE = 3\n", 5},
    {"verbose = 5\nVERBOSE = 3\n", 5},
    {"VERBOSE = none\nVERBOSE = 3\n", 0},
    {"VERBOSE =\nVERBOSE = 3\n", 0},
    {"# VERBOSE = 5\nVERBOSE = 3\n", 3},
    {"VERBOSE 5\nVERBOSE = 3\n", 3},
    // Numbers.
    {"VERBOSE = 0\n", 0},
    {"VERBOSE = -1\n", -1},
    {"VERBOSE = 2147483647\n", INT_MAX},
    {"VERBOSE = -2147483648\n", INT_MIN},
    {"VERBOSE = 007\n", 7},
    {"VERBOSE = -007\n", -7},
    {"VERBOSE = 00000000000000000005\n", 5},
    {"VERBOSE = -0\n", 0},
    {"VERBOSE = +5\n", 0},
    {"VERBOSE = +\n", 0},
    {"VERBOSE = 2147483648\n", 0},
    {"VERBOSE = -2147483649\n", 0},
    {"VERBOSE = 4294967301\n", 0},
    {"VERBOSE = 99999999999999999999999\n", 0},
    {"VERBOSE =\n", 0},
    {"VERBOSE = -\n", 0},
    {"VERBOSE = five\n", 0},
    {"VERBOSE = 5x\n", 0},
    {"VERBOSE = x5\n", 0},
    {"VERBOSE = 5 5\n", 0},
    {"VERBOSE = 5 # remark\n", 0},
    {"VERBOSE = 0x5\n", 0},
    {"VERBOSE = 5.0\n", 0},
    {"VERBOSE = = 5\n", 0},
    {"VERBOSE = 5 = 5\n", 0},
    {"VERBOSE = - 5\n", 0},
    {"VERBOSE = 5\0\n"s, 0},
    {"VERBOSE = 5\v\n", 0},
};

}  // namespace

TEST_F(MainConfiguration, HasTheGlobalVerbosity) {
    for (const Verbosity& row : rows) {
        write_file(main_configuration, row.configuration);
        ASSERT_EQ(ZM_read_master_config(), 0);
        EXPECT_EQ(get_master_config_ptr()->VERBOSE, row.verbosity) << testing::PrintToString(row.configuration);
    }
}

TEST_F(MainConfiguration, MayHoldLongLines) {
    std::string text = "KEY = ";
    text.resize(1U << 20, 'x');
    write_file(main_configuration, text + "\nVERBOSE = 5\n");
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_EQ(get_master_config_ptr()->VERBOSE, 5);
}

TEST_F(MainConfiguration, IsEmptyBeforeItIsRead) {
    if (in_fresh_process()) {
        EXPECT_EQ(get_master_config_ptr()->VERBOSE, 0);
        EXPECT_EQ(xnet_get_max_timeout(), 300);
    }
}

TEST_F(MainConfiguration, IsWhatTheLastReadFound) {
    write_file(main_configuration, "VERBOSE = 5\nNETWORK_TIMEOUT = 60\n");
    ASSERT_EQ(ZM_read_master_config(), 0);
    const ConfigRecord* const record = get_master_config_ptr();
    write_file(main_configuration, "SERVER = localhost\n");
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_EQ(record->VERBOSE, 0);
    EXPECT_EQ(record, get_master_config_ptr());
    EXPECT_EQ(xnet_get_max_timeout(), 300);
}

TEST_F(MainConfiguration, IsReadThroughALink) {
    write_file("/opt/site/qr.conf", "VERBOSE = 4\n");
    remove_tree(main_configuration);
    make_link("/opt/site/qr.conf", main_configuration);
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_EQ(get_master_config_ptr()->VERBOSE, 4);
}

TEST_F(MainConfiguration, IsNotChangedByReading) {
    const std::string text = "VERBOSE = 4\r\nno entry\n\xff";
    write_file(main_configuration, text);
    ASSERT_EQ(ZM_read_master_config(), 0);
    EXPECT_EQ(read_file(main_configuration), text);
    EXPECT_EQ(names_in("/usr/kumel/zembrath"), (std::vector<std::string>{"bin", "logs", "qr.conf", "sec"}));
}

TEST_F(MainConfiguration, CannotBeReadWhenItIsMissing) {
    remove_tree(main_configuration);
    EXPECT_NE(ZM_read_master_config(), 0);
}

TEST_F(MainConfiguration, CannotBeReadWhenItsFolderIsMissing) {
    remove_tree("/usr/kumel");
    EXPECT_NE(ZM_read_master_config(), 0);
}

TEST_F(MainConfiguration, CannotBeReadFromAFolder) {
    remove_tree(main_configuration);
    make_folder(main_configuration);
    EXPECT_NE(ZM_read_master_config(), 0);
}

// Nobody writes to the FIFO, so reading it like a file would wait forever.
TEST_F(MainConfiguration, IsEmptyWhenItsFileIsAFifo) {
    write_file(main_configuration, "VERBOSE = 5\n");
    ASSERT_EQ(ZM_read_master_config(), 0);
    remove_tree(main_configuration);
    ASSERT_EQ(mkfifo(main_configuration.c_str(), 0600), 0);
    EXPECT_EQ(ZM_read_master_config(), 0);
    EXPECT_EQ(get_master_config_ptr()->VERBOSE, 0);
}

TEST_F(MainConfiguration, CannotBeReadWithoutPermission) {
    set_mode(main_configuration, 0);
    EXPECT_TRUE(succeeds_in_child([] {
        give_up_file_rights();
        EXPECT_NE(ZM_read_master_config(), 0);
    }));
}
