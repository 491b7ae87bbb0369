// Lines of misleading values, against what they were made of.
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

// Makes texts that are as misleading as can be, of pieces of lines.
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

// A line as an agent makes it of these values.
KnownLine line_of(std::size_t form, const std::string& a, const std::string& b, std::string& folder) {
    const AnswerField status = number("status", 1);
    const std::string head = "PROCESS=CORVID:" + a + " STATUS=1 MSG=";
    folder = "/logs/" + a;
    switch (form) {
        case 0:
            return {head + "m" + b, "process", {{"category", "CORVID"}, {"process", a}, status}};
        case 1:
            return {head + "m DIR=" + folder,
                    "process",
                    {{"category", "CORVID"}, {"process", a}, status, {"message", "m"}, {"directory", folder}}};
        case 2:
            return {head + "m DIR=" + folder + " E=2 (n)",
                    "process",
                    {{"category", "CORVID"},
                     {"process", a},
                     status,
                     {"message", "m"},
                     {"directory", folder},
                     number("errno", 2),
                     {"errno_text", "n"}}};
        case 3:
            return {head + "m DIR=" + folder + " Perm=755",
                    "process",
                    {{"category", "CORVID"},
                     {"process", a},
                     status,
                     {"message", "m"},
                     {"directory", folder},
                     {"permission", "755"}}};
        case 4:
            return {head + "m (Value=" + b + ")",
                    "process",
                    {{"category", "CORVID"}, {"process", a}, status, {"message", "m"}, {"value", b}}};
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

TEST(ParseMisleadingLine, TellsTheTrueValuesOrNone) {
    MisleadingTexts texts;
    std::size_t told = 0;
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
        ++told;
        ASSERT_EQ(parsed.type, known.type) << known.line;
        ASSERT_GE(parsed.fields.size(), known.fields.size()) << known.line;
        for (std::size_t i = 0; i != known.fields.size(); ++i) {
            ASSERT_TRUE(parsed.fields[i] == known.fields[i]) << parsed.fields[i].name << " of " << known.line;
        }
    }
    EXPECT_GT(told, 10'000U);
}

}  // namespace
