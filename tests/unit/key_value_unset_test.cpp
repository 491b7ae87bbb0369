// How unset_parameter changes a file, byte for byte.

#include <array>

#include "logging_config/key_value_file.h"
#include "tests/unit/agent_test.h"

namespace {

const std::string zero_byte(1, '\0');

struct EditCase {
    const char* name;
    std::string before;
    std::string key;
    std::string separator;
    std::string comment;
    std::string after;
};

std::string name_of_case(const testing::TestParamInfo<EditCase>& info) {
    return info.param.name;
}

void PrintTo(const EditCase& edit, std::ostream* out) {
    *out << edit.name;
}

class KeyValueFile : public AgentTest, public testing::WithParamInterface<EditCase> {
  protected:
    int apply() {
        const EditCase& edit = GetParam();
        write_file(path_, edit.before);
        return unset_parameter(path_, edit.key, edit.separator, buffer_.data(), buffer_.size(), edit.comment);
    }

    ScratchFolder folder_;
    const std::string path_ = folder_.path("component.conf");
    std::array<char, 1024> buffer_{"untouched"};
};

// The setting begins a line.
class Unset : public KeyValueFile {};

TEST_P(Unset, ChangesTheFileAndReportsNothing) {
    EXPECT_EQ(apply(), 0);
    EXPECT_EQ(read_file(path_), GetParam().after);
    EXPECT_FALSE(exists(path_ + ".new"));
    EXPECT_STREQ(buffer_.data(), "untouched");
    EXPECT_EQ(recording_platform::messages(), Lines{});
}

INSTANTIATE_TEST_SUITE_P(KeyValueFile, Unset,
                         testing::ValuesIn(std::vector<EditCase>{
                             {"CommentsTheLineOut", "X = 1\n", "X", " = ", "#", "#X = 1\n"},
                             {"CommentsEveryLineOut", "X = 1\nA\nX = 2\n", "X", " = ", "#", "#X = 1\nA\n#X = 2\n"},
                             {"LeavesLinesThatOnlyContainTheSetting", "MAX = 3\n X = 1\n#X = 1\n\tX = 2\nX = 4\n", "X",
                              " = ", "#", "MAX = 3\n X = 1\n#X = 1\n\tX = 2\n#X = 4\n"},
                             {"CommentsALineWithARemarkOut", "X = 1 # why\n", "X", " = ", "#", "#X = 1 # why\n"},
                             {"CommentsALastLineWithoutANewlineOut", "A\nX = 1", "X", " = ", "#", "A\n#X = 1\n"},
                             {"AddsTheNewlineThatAnotherLastLineLacks", "X = 1\nA", "X", " = ", "#", "#X = 1\nA\n"},
                             {"KeepsCarriageReturns", "X = 1\r\nA\r\n", "X", " = ", "#", "#X = 1\r\nA\r\n"},
                             {"KeepsZeroBytes", "X = " + zero_byte + "1\nA" + zero_byte + "\n", "X", " = ", "#",
                              "#X = " + zero_byte + "1\nA" + zero_byte + "\n"},
                             {"KeepsBlankLines", "\nX=1\n\n", "X", "=", "#", "\n#X=1\n\n"},
                             {"CommentsABareKeywordOut", "VERBOSE\n", "VERBOSE", "", "#", "#VERBOSE\n"},
                             {"CommentsLinesThatBeginWithAKeywordOut", "VERBOSE_X = 1\nVERBOSE=2\nMY VERBOSE\n",
                              "VERBOSE", "", "#", "#VERBOSE_X = 1\n#VERBOSE=2\nMY VERBOSE\n"},
                             {"AcceptsALongerPrefix", "X=1\n", "X", "=", "# off: ", "# off: X=1\n"},
                             {"LeavesALineThatBeginsWithThePrefixToo", "#X=1\n#Y=1\n", "#X", "=", "#", "#X=1\n#Y=1\n"},
                             {"DropsEveryLineWithoutAPrefix", "X=1\nA\nX=2\n X=3\n", "X", "=", "", "A\n X=3\n"},
                             {"EmptiesAFileOfOnlySuchLines", "X=1\nX=2", "X", "=", "", ""},
                         }),
                         name_of_case);

// The setting does not begin a line.
class NothingToUnset : public KeyValueFile {};

TEST_P(NothingToUnset, LeavesTheFileUntouchedAndReportsThat) {
    const std::string notice = "Parameter X is not set in file " + path_;
    EXPECT_EQ(apply(), 0);
    EXPECT_EQ(read_file(path_), GetParam().before);
    EXPECT_EQ(buffer_.data(), notice);
    EXPECT_EQ(recording_platform::messages(), (Lines{{log_level::information, "unset_parameter", notice}}));
    EXPECT_EQ(recording_platform::calls_of("open " + path_ + ".new"), Texts{});
    EXPECT_EQ(recording_platform::calls_of("rename"), Texts{});
}

INSTANTIATE_TEST_SUITE_P(KeyValueFile, NothingToUnset,
                         testing::ValuesIn(std::vector<EditCase>{
                             {"InAnEmptyFile", "", "X", "=", "#", ""},
                             {"InAFileWithoutTheSetting", "A=1\n", "X", "=", "#", ""},
                             {"InAFileThatLacksItsLastNewline", "A=1", "X", "=", "#", ""},
                             {"AfterBlanks", " X=1\n", "X", "=", "#", ""},
                             {"InACommentedLine", "#X=1\n", "X", "=", "#", ""},
                             {"InALongerKey", "MAX=1\n", "X", "=", "#", ""},
                             {"WithAnotherSeparator", "X = 1\n", "X", "=", "#", ""},
                             {"InAnotherCase", "x=1\n", "X", "=", "#", ""},
                             {"WithoutAPrefix", "A=1", "X", "=", "", ""},
                         }),
                         name_of_case);

class UnsetParameter : public AgentTest {
  protected:
    ScratchFolder folder_;
    const std::string path_ = folder_.path("component.conf");
    std::array<char, 1024> buffer_{};
};

TEST_F(UnsetParameter, ChangesNothingTheSecondTime) {
    write_file(path_, "X = 1\n");
    EXPECT_EQ(unset_parameter(path_, "X", " = ", buffer_.data(), buffer_.size(), "#"), 0);
    EXPECT_STREQ(buffer_.data(), "");
    EXPECT_EQ(unset_parameter(path_, "X", " = ", buffer_.data(), buffer_.size(), "#"), 0);
    EXPECT_EQ(buffer_.data(), "Parameter X is not set in file " + path_);
    EXPECT_EQ(read_file(path_), "#X = 1\n");
    EXPECT_EQ(recording_platform::calls_of("rename").size(), 1U);
}

}  // namespace
