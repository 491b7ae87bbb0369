#include "platform/text_encoding.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>

namespace {

using namespace std::string_literals;

TEST(IsUtf8, IsTrueForCharactersOfEveryLength) {
    for (const std::string& text : {""s, "a\0\x7f"s, "\xc2\x80 \xdf\xbf"s, "\xe0\xa0\x80 \xef\xbf\xbf"s,
                                    "\xed\x9f\xbf \xee\x80\x80"s, "\xf0\x90\x80\x80 \xf4\x8f\xbf\xbf"s}) {
        EXPECT_TRUE(is_utf8(text)) << testing::PrintToString(text);
    }
}

TEST(IsUtf8, IsFalseForOtherBytes) {
    for (const std::string& bytes :
         {"\x80"s, "a\xff"s, "\xc1\xbf"s, "\xc2"s, "\xc2 "s, "\xe0\x9f\xbf"s, "\xe2\x82"s, "\xed\xa0\x80"s,
          "\xf0\x8f\xbf\xbf"s, "\xf0\x90\x80"s, "\xf4\x90\x80\x80"s, "\xf5\x80\x80\x80"s, "\xc3\xa4\xa4"s}) {
        EXPECT_FALSE(is_utf8(bytes)) << testing::PrintToString(bytes);
    }
}

bool json_library_takes(const std::string& bytes) {
    try {
        static_cast<void>(nlohmann::json(bytes).dump());
        return true;
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}

TEST(IsUtf8, AgreesWithTheJsonLibrary) {
    const std::string bytes = "a\x80\x8f\x90\x9f\xa0\xbf\xc1\xc2\xe0\xe1\xed\xee\xf0\xf1\xf4\xf5\xff";
    std::mt19937 random(20261121);
    std::uniform_int_distribution<std::size_t> any_byte(0, bytes.size() - 1);
    for (int round = 0; round != 100'000; ++round) {
        std::string text;
        while (text.size() != 4) {
            text += bytes[any_byte(random)];
        }
        ASSERT_EQ(is_utf8(text), json_library_takes(text)) << testing::PrintToString(text);
    }
}

TEST(EscapeControls, EscapesCharactersThatATerminalActsOn) {
    EXPECT_EQ(escape_controls("a\n\r\t\x1b\x7f\0b"s), "a\\n\\r\\t\\x1b\\x7f\\x00b");
    EXPECT_EQ(escape_controls("\xc2\x80 \xc2\x9f \x80\x9f"), "\\xc2\\x80 \\xc2\\x9f \\x80\\x9f");
}

TEST(EscapeControls, DoesNotChangeOtherBytes) {
    const std::string text = "a \\ \xc2\xa0 \xc3\x9f \xe2\x82\xac \xa0\xff";
    EXPECT_EQ(escape_controls(text), text);
}

TEST(Base64, PadsToWholeGroups) {
    EXPECT_EQ(base64(""), "");
    EXPECT_EQ(base64("f"), "Zg==");
    EXPECT_EQ(base64("fo"), "Zm8=");
    EXPECT_EQ(base64("foo"), "Zm9v");
    EXPECT_EQ(base64("foobar"), "Zm9vYmFy");
}

TEST(Base64, HasADigitForEveryByte) {
    EXPECT_EQ(base64("\0\xff\xfe\xfb\xef\xbe"s), "AP/+++++");
}

TEST(LengthToCharacterEnd, IsTheWholeLengthOfAShortText) {
    EXPECT_EQ(length_to_character_end("abc", 3), 3U);
    EXPECT_EQ(length_to_character_end("", 3), 0U);
}

TEST(LengthToCharacterEnd, LeavesACharacterWhole) {
    EXPECT_EQ(length_to_character_end("abcd", 3), 3U);
    EXPECT_EQ(length_to_character_end("ab\xc3\xa4", 3), 2U);
    EXPECT_EQ(length_to_character_end("ab\xc3\xa4 ", 4), 4U);
    EXPECT_EQ(length_to_character_end("a\xf0\x90\x80\x80 ", 2), 1U);
    EXPECT_EQ(length_to_character_end("a\xf0\x90\x80\x80 ", 4), 1U);
    EXPECT_EQ(length_to_character_end("a\xf0\x90\x80\x80 ", 5), 5U);
}

TEST(LengthToCharacterEnd, IsTheLimitForBytesThatAreNotUtf8) {
    EXPECT_EQ(length_to_character_end("abc\x80\x80\x80\x80\x80\x80", 8), 8U);
    EXPECT_EQ(length_to_character_end("\x80\x80\x80\x80", 2), 2U);
    EXPECT_EQ(length_to_character_end("ab\xe2\x82", 3), 3U);
    EXPECT_EQ(length_to_character_end("\xf0\x90\x80\x80", 2), 2U);
}

}  // namespace
