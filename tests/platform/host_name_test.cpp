// Which texts can be looked up as the name of a host.
#include <gtest/gtest.h>

#include <string>

#include "platform/library/name_lookup.h"

using platform_library::is_host_name;

TEST(IsHostName, IsTrueForNames) {
    for (const char* text : {"a", "backup7", "backup7.example.org", "backup7.example.org.", "7backup",
                             "10.77.0.2.example", "0xbackup", "-s", "under_score", "h\xC3\xB6st", "10.77.0.x2", "*"}) {
        EXPECT_TRUE(is_host_name(text)) << text;
    }
    EXPECT_TRUE(is_host_name(std::string(1024, 'x')));
}

TEST(IsHostName, IsFalseForTextsThatAreNotNames) {
    for (const char* text :
         {"", ".", "a b", " a", "a ", "a\tb", "a\nb", "a\r", "a\x7F", "\x01", "fe80::1%lo", "a:b", "a%b", "::1"}) {
        EXPECT_FALSE(is_host_name(text)) << text;
    }
    EXPECT_FALSE(is_host_name(std::string("a\0b", 3)));
    EXPECT_FALSE(is_host_name(std::string(1025, 'x')));
}

TEST(IsHostName, IsFalseWhenTheLastLabelIsANumber) {
    for (const char* text :
         {"1", "10.5", "192.168.010.005", "0xbeef", "0XBEEF", "0x", "1.2.3.4", "1.2.3.4.", "1.2.3.0x4",
          "256.256.256.256", "09.1.1.1", "1.2.3.4.5", "99999999999999999999", "host.7"}) {
        EXPECT_FALSE(is_host_name(text)) << text;
    }
}
