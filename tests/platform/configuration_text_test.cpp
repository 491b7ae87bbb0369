// Which configuration texts are accepted and which are rejected.
#include <gtest/gtest.h>

#include <string>

#include "platform/main_configuration.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

const std::string accepted[] = {
    "",
    "KEY=value",
    "KEY=value\n",
    "KEY",
    "KEY\n",
    "KEY=",
    "KEY=\n",
    "A=1\nB=2\nC\n",
    "A=1\nA=2\nA\nA=3\n",
    "k=v",
    "aZ09_=v",
    "Z_=v",
    "z=v",
    "A=v",
    "KAZaz09_=v",
    "KEY=a=b=c",
    "KEY==",
    "KEY=two words, \"quoted\" 'quoted' #\\/;:%s",
    "KEY=\xc3\xa9\x80\xff",
    "VERBOSE=0",
    "VERBOSE=5",
    "VERBOSE=-1",
    "VERBOSE=-0",
    "VERBOSE=007",
    "VERBOSE=-007",
    "VERBOSE=2147483647",
    "VERBOSE=-2147483648",
    "VERBOSE",
    "verbose",
    "TAPEMGR_VERBOSE=3",
    "TAPEMGR_VERBOSE",
    "XVERBOSE=none",
    "VERBOSES=none",
    "VERBOSE_=none",
    "TAPEMGR_VERBOSE_=none",
    "TAPEMGR_VERBOSES=none",
    "VERBOSE_LEVEL=none",
    "SERVERS=elsewhere",
    "SERVER_=elsewhere",
    "MYSERVER=elsewhere",
};

const std::string refused[] = {
    // An empty line.
    "\n",
    "\nKEY=value",
    "KEY=value\n\n",
    "KEY=value\n\nKEY=value\n",
    // A key of another form.
    "=value",
    "=",
    "_=value",
    "_KEY=value",
    "1KEY=value",
    "1=value",
    "KEY =value",
    " KEY=value",
    "\tKEY=value",
    "KEY\t=value",
    "KEY \n",
    " ",
    " \n",
    "MY KEY=value",
    "MY KEY",
    "KEY-A=value",
    "KEY.A=value",
    "KEY:A",
    "K\xc3\x89Y=value",
    "KEY\xff",
    // With a byte beside the letters and digits.
    "@=value",
    "[=value",
    "`=value",
    "{=value",
    "K@=value",
    "K[=value",
    "K`=value",
    "K{=value",
    "K/=value",
    "K:=value",
    "K^=value",
    "#KEY=value",
    "# remark",
    "KEY\x01=value",
    "KEY\r\n",
    "\xef\xbb\xbfKEY=value",
    // A control character in the value.
    "KEY=value\r\n",
    "KEY=\tvalue",
    "KEY=val\tue",
    "KEY=\x01",
    "KEY=\x1b[0m",
    "KEY=value\x1f",
    "KEY=value\x7f",
    "KEY=\v",
    // A verbosity that is not a signed 32-bit number.
    "VERBOSE=",
    "VERBOSE=five",
    "VERBOSE=5x",
    "VERBOSE= 5",
    "VERBOSE=5 ",
    "VERBOSE=0x5",
    "VERBOSE=5.0",
    "VERBOSE=-",
    "VERBOSE=--5",
    "VERBOSE=+5",
    "VERBOSE=+0",
    "VERBOSE=-+5",
    "VERBOSE==5",
    "VERBOSE=2147483648",
    "VERBOSE=-2147483649",
    "VERBOSE=4294967296",
    "VERBOSE=99999999999999999999",
    "verbose=five",
    "TAPEMGR_VERBOSE=",
    "TAPEMGR_VERBOSE=five",
    "tapemgr_verbose=five",
    "Tapemgr_Verbose=2147483648",
    "A_VERBOSE=x",
    // The list of trusted hosts.
    "SERVER=elsewhere",
    "server=elsewhere",
    "Server=elsewhere",
    "SERVER=",
    "SERVER",
    "sErVeR",
    "A=1\nSERVER=elsewhere\nB=2\n",
    // One bad line among good ones.
    "A=1\nVERBOSE=five\nB=2\n",
    "A=1\nB=2\n=\n",
};

int parse(std::string text, ConfigRecord& record) {
    const std::string before = text;
    const int status = ParseConfigExA(text.data(), &record, nullptr, 1);
    EXPECT_EQ(text, before);
    return status;
}

}  // namespace

class ConfigurationText : public ProductTest {};

TEST_F(ConfigurationText, IsAcceptedWhenEveryLineIsASetting) {
    for (const std::string& text : accepted) {
        ConfigRecord record{};
        EXPECT_EQ(parse(text, record), 0) << testing::PrintToString(text);
        FreeConfig(&record);
    }
}

TEST_F(ConfigurationText, IsRejectedWhenALineIsNotASetting) {
    for (const std::string& text : refused) {
        ConfigRecord record{};
        EXPECT_NE(parse(text, record), 0) << testing::PrintToString(text);
        FreeConfig(&record);
    }
}

TEST_F(ConfigurationText, IsRejectedWithTheSameStatusForAnyReason) {
    ConfigRecord record{};
    const int status = parse("SERVER=elsewhere", record);
    for (const std::string& text : refused) {
        EXPECT_EQ(parse(text, record), status) << testing::PrintToString(text);
    }
    FreeConfig(&record);
}

TEST_F(ConfigurationText, MayHaveAKeyAndAValueOfAnyLength) {
    std::string text = "K";
    text.resize(100'000, 'k');
    text += '=';
    text.resize(300'000, 'v');
    ConfigRecord record{};
    EXPECT_EQ(parse(text, record), 0);
    FreeConfig(&record);
}

// A value may contain every byte except control characters. A newline begins the next line, and a zero byte ends the
// text.
TEST_F(ConfigurationText, MayHaveAnyByteExceptControlCharactersInAValue) {
    for (int byte = 1; byte < 256; ++byte) {
        if (byte == '\n') {
            continue;
        }
        ConfigRecord record{};
        const std::string text = std::string("KEY=a") + static_cast<char>(byte) + "b";
        EXPECT_EQ(parse(text, record) == 0, byte >= 32 && byte != 127) << "byte " << byte;
        FreeConfig(&record);
    }
}

TEST_F(ConfigurationText, DoesNotChangeTheFile) {
    ConfigRecord record{};
    EXPECT_EQ(parse("KEY=value", record), 0);
    FreeConfig(&record);
    EXPECT_EQ(read_file(main_configuration), "SERVER = localhost\n");
    EXPECT_EQ(names_in("/usr/kumel/zembrath"), (std::vector<std::string>{"bin", "logs", "qr.conf", "sec"}));
}

TEST_F(ConfigurationText, LeavesTheRecordEmptyWhenItIsRejected) {
    ConfigRecord record{};
    EXPECT_NE(parse("A=1\nB=2\nSERVER=elsewhere\n", record), 0);
    EXPECT_EQ(record.settings, nullptr);
    EXPECT_EQ(UpdateHostConfigExA(QRConfZMStandardServer, &record, nullptr, 0, 0, 0), 0);
    EXPECT_EQ(read_file(main_configuration), "SERVER = localhost\n");
}

TEST_F(ConfigurationText, IsReleasedOnce) {
    ConfigRecord record{};
    EXPECT_EQ(parse("KEY=value", record), 0);
    FreeConfig(&record);
    EXPECT_EQ(record.settings, nullptr);
    FreeConfig(&record);
    EXPECT_EQ(record.settings, nullptr);
}
