// Lines of misleading values: the parser finds the true values, or takes the line for output.
#include <gtest/gtest.h>

#include <random>

#include "request_command/answer_line.h"

namespace {

struct KnownLine {
    std::string line;
    std::string_view type;
    std::vector<AnswerField> fields;
};

AnswerField number(std::string_view name, std::int64_t value) {
    return {name, value};
}

AnswerField amount(std::string_view name, std::uint64_t value) {
    return {name, value};
}

// Makes misleading texts from pieces of lines.
class MisleadingTexts {
  public:
    std::string next() {
        static const std::vector<std::string> pieces = {"a",
                                                        "PROCESS=VMCONF:",
                                                        " STATUS=0",
                                                        " MSG=",
                                                        " DIR=/a",
                                                        " E=2 (b)",
                                                        " Perm=7",
                                                        " OID=1",
                                                        " Product ID=2",
                                                        " RV=3",
                                                        " LVL=4",
                                                        " (Value=",
                                                        ")",
                                                        "'",
                                                        ":",
                                                        ": ",
                                                        " ",
                                                        "/",
                                                        " FREE_SPACE=1",
                                                        " MB TOTAL_SPACE=2",
                                                        " MB",
                                                        "STATUS=",
                                                        " E=",
                                                        "5",
                                                        "CALCLOGSIZE: TARGET_DIR=",
                                                        "\xff"};
        std::string text;
        for (std::size_t count = number(4); count != 0; --count) {
            text += pieces[number(pieces.size())];
        }
        return text;
    }

    std::size_t number(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_); }

  private:
    std::mt19937 random_{20261121};
};

// Returns a line about a value of a logging request. The fields refer to the arguments.
KnownLine process_line(const std::string& value, const std::string& message, const std::vector<AnswerField>& more) {
    KnownLine known = {"PROCESS=CORVID:" + value + " STATUS=1 MSG=" + message,
                       "process",
                       {{"category", "CORVID"}, {"process", value}, number("status", 1)}};
    known.fields.insert(known.fields.end(), more.begin(), more.end());
    return known;
}

// Returns a line as an agent writes it with these values. Its fields refer to the arguments and to `folder`.
KnownLine line_of(std::size_t form, const std::string& a, const std::string& b, std::string& folder) {
    folder = "/logs/" + a;
    const std::string with_folder = "m DIR=" + folder;
    const AnswerField message = {"message", "m"};
    const AnswerField directory = {"directory", folder};
    switch (form) {
        case 0:
            return process_line(a, "m" + b, {});
        case 1:
            return process_line(a, with_folder, {message, directory});
        case 2:
            return process_line(a, with_folder + " E=2 (n)",
                                {message, directory, number("errno", 2), {"errno_text", "n"}});
        case 3:
            return process_line(a, with_folder + " Perm=755", {message, directory, {"permission", "755"}});
        case 4:
            return process_line(a, "m (Value=" + b + ")", {message, {"value", b}});
        case 5:
            return {"CALCLOGSIZE: TARGET_DIR=" + a + " FREE_SPACE=3 MB TOTAL_SPACE=4 MB",
                    "space",
                    {{"directory", a}, amount("free_mib", 3), amount("total_mib", 4)}};
        default:
            return {"CLEANUP: Failed to clean up " + a + ": " + b,
                    "cleanup",
                    {{"result", "failed"}, {"directory", a}, {"error_text", b}}};
    }
}

constexpr std::size_t forms = 7;

TEST(ParseMisleadingLine, FindsTheTrueValuesOrNone) {
    MisleadingTexts texts;
    std::size_t parsed_lines = 0;
    for (int round = 0; round != 200'000; ++round) {
        const std::string a = texts.next();
        const std::string b = texts.next();
        std::string folder;
        KnownLine known = line_of(texts.number(forms), a, b, folder);
        const AnswerLine parsed = parse_answer_line(known.line);
        if (parsed.type == "output") {
            EXPECT_TRUE(parsed == output_line(known.line)) << known.line;
            continue;
        }
        ++parsed_lines;
        ASSERT_EQ(parsed.type, known.type) << known.line;
        ASSERT_GE(parsed.fields.size(), known.fields.size()) << known.line;
        for (std::size_t i = 0; i != known.fields.size(); ++i) {
            ASSERT_TRUE(parsed.fields[i] == known.fields[i]) << parsed.fields[i].name << " of " << known.line;
        }
    }
    EXPECT_GT(parsed_lines, 10'000U);
}

}  // namespace
