// How set_parameter_value changes a file, byte for byte.

#include <array>

#include "logging_config/key_value_file.h"
#include "tests/unit/agent_test.h"

namespace {

const std::string zero_byte(1, '\0');

struct Setting {
    std::string key;
    std::string separator;
    std::string value;
};

struct EditCase {
    const char* name;
    std::string before;
    Setting setting;
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
    int apply(int set) {
        write_file(path_, GetParam().before);
        const Setting& setting = GetParam().setting;
        return set_parameter_value(path_, setting.key, setting.separator, setting.value, buffer_.data(), buffer_.size(),
                                   set);
    }

    void expect_outcome() {
        EXPECT_EQ(read_file(path_), GetParam().after);
        EXPECT_FALSE(exists(path_ + ".new"));
    }

    ScratchFolder folder_;
    const std::string path_ = folder_.path("component.conf");
    std::array<char, 1024> buffer_{"untouched"};
};

// With make_active.
class MadeActive : public KeyValueFile {};

TEST_P(MadeActive, ChangesTheFileAndReportsNothing) {
    EXPECT_EQ(apply(set_flag::make_active), 0);
    expect_outcome();
    EXPECT_STREQ(buffer_.data(), "untouched");
    EXPECT_EQ(recording_platform::messages(), Lines{});
}

const Setting x_5 = {"X", " = ", "5"};
const Setting verbose = {"VERBOSE", "", ""};

INSTANTIATE_TEST_SUITE_P(
    KeyValueFile, MadeActive,
    testing::ValuesIn(std::vector<EditCase>{
        {"FillsAnEmptyFile", "", x_5, "X = 5\n"},
        {"AppendsToAFileWithoutTheSetting", "A = 1\n", x_5, "A = 1\nX = 5\n"},
        {"AppendsAfterALastLineWithoutANewline", "A = 1", x_5, "A = 1\nX = 5\n"},
        {"ReplacesALastLineWithoutANewline", "X = 1", x_5, "X = 5\n"},
        {"ReplacesEveryActiveLine", "X = 1\nB = 2\nX = 3\n", x_5, "X = 5\nB = 2\nX = 5\n"},
        {"RewritesALineThatIsAlreadyRight", "X = 5\n", x_5, "X = 5\n"},
        {"ReplacesALineThatContainsTheMatchAnywhere", "MAX = 3\n", x_5, "X = 5\n"},
        {"ReplacesTheWholeLine", "  X = 1 and more  \n", x_5, "X = 5\n"},
        {"ReplacesOnlyTheFirstCommentedLine", "#X = 1\n#X = 2\n", x_5, "X = 5\n#X = 2\n"},
        {"KeepsCommentedLinesBesideAnActiveOne", "#X = 1\nX = 2\n# X = 3\n", x_5, "#X = 1\nX = 5\n# X = 3\n"},
        {"TreatsALineWithARemarkAsCommented", "X = 1 # why\nA\n", x_5, "X = 5\nA\n"},
        {"KeepsALineWithARemarkBesideAnActiveOne", "X = 1 # why\nX = 2\n", x_5, "X = 1 # why\nX = 5\n"},
        {"KeepsOtherCommentsAndBlankLines", "# about X\n\n  \n#\n", x_5, "# about X\n\n  \n#\nX = 5\n"},
        {"ComparesTheSeparatorExactly", "X=1\nX  = 1\nX =1\n", x_5, "X=1\nX  = 1\nX =1\nX = 5\n"},
        {"ComparesTheKeyExactly", "x = 1\n", x_5, "x = 1\nX = 5\n"},
        {"KeepsCarriageReturnsAndWritesNone", "A = 1\r\nX = 1\r\nB\r\n", x_5, "A = 1\r\nX = 5\nB\r\n"},
        {"KeepsZeroBytes", "A" + zero_byte + "B\n" + zero_byte + "\n", x_5,
         "A" + zero_byte + "B\n" + zero_byte + "\nX = 5\n"},
        {"FindsTheMatchAfterAZeroByte", zero_byte + "X = 1\n", x_5, "X = 5\n"},
        {"FindsTheCommentAfterAZeroByte", "X = 1" + zero_byte + "#\nX = 2\n", x_5, "X = 1" + zero_byte + "#\nX = 5\n"},
        {"KeepsBytesThatAreNotText", "\xff\xfe\x01\n", x_5, "\xff\xfe\x01\nX = 5\n"},
        {"WritesAnEmptyValue", "X = 1\n", {"X", " = ", ""}, "X = \n"},
        {"WritesAValueWithEqualsSigns", "X=1\n", {"X", "=", "a=b=c"}, "X=a=b=c\n"},
        {"WritesAValueWithACommentSign", "X=1\nX=2\n", {"X", "=", "#1"}, "X=#1\nX=#1\n"},
        {"LeavesABareKeyword", "VERBOSE\n", verbose, "VERBOSE\n"},
        {"ActivatesACommentedKeyword", "#VERBOSE\n", verbose, "VERBOSE\n"},
        {"AppendsAKeyword", "A\n", verbose, "A\nVERBOSE\n"},
        {"ReducesAnyLineToTheKeywordInIt", "VERBOSE=2\nMY_VERBOSE_X = 1\n", verbose, "VERBOSE\nVERBOSE\n"},
        {"MatchesAKeyWithQuotationMarks", "\"DebugLevel\"=\"1\"\n", {"\"DebugLevel\"", "=", "4"}, "\"DebugLevel\"=4\n"},
    }),
    name_of_case);

// With restore_commented, and the file contains the default, active or commented out.
class DefaultKeptOrRestored : public KeyValueFile {};

TEST_P(DefaultKeptOrRestored, ChangesTheFileAndReportsNothing) {
    EXPECT_EQ(apply(set_flag::restore_commented), 0);
    expect_outcome();
    EXPECT_STREQ(buffer_.data(), "untouched");
    EXPECT_EQ(recording_platform::messages(), Lines{});
}

const Setting x_2 = {"X", " = ", "2"};

INSTANTIATE_TEST_SUITE_P(KeyValueFile, DefaultKeptOrRestored,
                         testing::ValuesIn(std::vector<EditCase>{
                             {"LeavesAnActiveLineOfAnotherValue", "X = 9\n", x_2, "X = 9\n"},
                             {"LeavesACommentedDefaultBesideAnActiveLine", "#X = 2\nX = 9\n", x_2, "#X = 2\nX = 9\n"},
                             {"LeavesDuplicates", "X = 9\nX = 8\n", x_2, "X = 9\nX = 8\n"},
                             {"AddsTheNewlineThatAnActiveLastLineLacks", "X = 9", x_2, "X = 9\n"},
                             {"ActivatesACommentedDefault", "#X = 2\n", x_2, "X = 2\n"},
                             {"ActivatesALastLineWithoutANewline", "A\n#X = 2", x_2, "A\nX = 2\n"},
                             {"DropsBlanksAroundTheCommentSign", "  # X = 2\n", x_2, "X = 2\n"},
                             {"DropsTabsAroundTheCommentSign", "\t#\t X = 2\t\n", x_2, "X = 2\t\n"},
                             {"TurnsEveryCommentSignIntoABlank", "#X = 2 #old\n", x_2, "X = 2  old\n"},
                             {"TurnsTheSignOfARemarkIntoABlank", "X = 2 # on\n", x_2, "X = 2   on\n"},
                             {"ActivatesTheFirstOfTwoDefaults", "#X = 2\n#X = 2\n", x_2, "X = 2\n#X = 2\n"},
                             {"SkipsCommentedLinesOfAnotherValue", "#X = 1\n#X = 2\n", x_2, "#X = 1\nX = 2\n"},
                             {"RestoresALineThatContainsTheDefault", "# MAX = 25\n", x_2, "MAX = 25\n"},
                             {"KeepsTheCarriageReturn", "#X = 2\r\n", x_2, "X = 2\r\n"},
                             {"KeepsOtherWhitespaceInFront", "#\v X = 2\n", x_2, "\v X = 2\n"},
                             {"KeepsOtherCharactersInFront", "#?X = 2\n", x_2, "?X = 2\n"},
                             {"DoesNotChangeALineOfBlanks", " # #\n", {"#", "", ""}, "    \n"},
                         }),
                         name_of_case);

// With restore_commented, and the file does not contain the default.
class DefaultMissing : public KeyValueFile {};

TEST_P(DefaultMissing, KeepsTheLinesAndWarns) {
    const std::string notice = "Parameter X is not set in file " + path_;
    EXPECT_EQ(apply(set_flag::restore_commented), 0);
    expect_outcome();
    EXPECT_EQ(buffer_.data(), notice);
    EXPECT_EQ(recording_platform::messages(), (Lines{{log_level::warning, "set_parameter_value", notice}}));
    EXPECT_EQ(recording_platform::calls_of("rename"), (Texts{"rename " + path_ + ".new " + path_}));
}

INSTANTIATE_TEST_SUITE_P(KeyValueFile, DefaultMissing,
                         testing::ValuesIn(std::vector<EditCase>{
                             {"InAnEmptyFile", "", x_2, ""},
                             {"InAFileWithoutTheSetting", "A = 2\n", x_2, "A = 2\n"},
                             {"InAFileThatLacksItsLastNewline", "A = 2", x_2, "A = 2\n"},
                             {"InAFileWithCommentedLinesOfOtherValues", "#X = 1\n#X = 3\n", x_2, "#X = 1\n#X = 3\n"},
                             {"InAFileWithAnotherSeparator", "#X=2\n", x_2, "#X=2\n"},
                         }),
                         name_of_case);

class SetParameterValue : public AgentTest {
  protected:
    ScratchFolder folder_;
    const std::string path_ = folder_.path("component.conf");
    std::array<char, 1024> buffer_{};
};

TEST_F(SetParameterValue, TreatsAnyFlagExceptZeroAsSet) {
    write_file(path_, "#X=1\n");
    EXPECT_EQ(set_parameter_value(path_, "X", "=", "2", buffer_.data(), buffer_.size(), -1), 0);
    EXPECT_EQ(read_file(path_), "X=2\n");
}

TEST_F(SetParameterValue, AcceptsLinesOfAnyLength) {
    const std::string line(300'000, 'y');
    write_file(path_, line + "\nX=1" + line + "\n" + line);
    EXPECT_EQ(set_parameter_value(path_, "X", "=", "2", buffer_.data(), buffer_.size(), set_flag::make_active), 0);
    EXPECT_EQ(read_file(path_), line + "\nX=2\n" + line + "\n");
}

}  // namespace
