#include "request_command/answer_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Fields = std::vector<AnswerField>;

std::string text_of(const FieldValue& value) {
    return std::visit(
        [](const auto& held) {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::string_view>) {
                return "\"" + std::string(held) + "\"";
            } else {
                return std::to_string(held);
            }
        },
        value);
}

AnswerField number(std::string_view name, std::int64_t value) {
    return {name, value};
}

AnswerField amount(std::string_view name, std::uint64_t value) {
    return {name, value};
}

struct KnownLine {
    std::string line;
    std::string_view type;
    Fields fields;
};

const std::vector<KnownLine> known_lines = {
    {"PROCESS=VMCONF:vmd STATUS=0 MSG=Set debug logging",
     "process",
     {{"category", "VMCONF"}, {"process", "vmd"}, number("status", 0), {"message", "Set debug logging"}}},
    {"PROCESS=KOB:kob STATUS=0 MSG=Success",
     "process",
     {{"category", "KOB"}, {"process", "kob"}, number("status", 0), {"message", "Success"}}},
    {"PROCESS=KOB:kob STATUS=32512 MSG=failed to change KOB cfg",
     "process",
     {{"category", "KOB"}, {"process", "kob"}, number("status", 32512), {"message", "failed to change KOB cfg"}}},
    {"PROCESS=RKPLUGIN STATUS=1 MSG=Only 'rkplugin' is valid 'RKPLUGIN' log ID",
     "process",
     {{"category", "RKPLUGIN"}, number("status", 1), {"message", "Only 'rkplugin' is valid 'RKPLUGIN' log ID"}}},
    {"PROCESS=QRCONF:VERBOSE STATUS=1 MSG=invalid qr.conf input (RV=5902 a key or value is not one)",
     "process",
     {{"category", "QRCONF"},
      {"process", "VERBOSE"},
      number("status", 1),
      {"message", "invalid qr.conf input (RV=5902 a key or value is not one)"}}},
    {"PROCESS=VMCONF:a:b STATUS=5803 MSG=Could not open file /a b E=2 (No such file or directory)",
     "process",
     {{"category", "VMCONF"},
      {"process", "a:b"},
      number("status", 5803),
      {"message", "Could not open file /a b"},
      number("errno", 2),
      {"errno_text", "No such file or directory"}}},
    {"PROCESS=RK:spoold STATUS=0 MSG=Set debug logging 'full'",
     "process",
     {{"category", "RK"},
      {"process", "spoold"},
      number("status", 0),
      {"message", "Set debug logging 'full'"},
      {"value", "full"}}},
    {"PROCESS=RK:spoold STATUS=5806 MSG=Failed to find kpa.cfg entry in /etc/rkregistry.cfg (Value=full)",
     "process",
     {{"category", "RK"},
      {"process", "spoold"},
      number("status", 5806),
      {"message", "Failed to find kpa.cfg entry in /etc/rkregistry.cfg"},
      {"value", "full"}}},
    {"PROCESS=RK:spoold STATUS=5803 MSG=Failed to open file (/x) E=13 (Permission denied) (Value=)",
     "process",
     {{"category", "RK"},
      {"process", "spoold"},
      number("status", 5803),
      {"message", "Failed to open file (/x)"},
      number("errno", 13),
      {"errno_text", "Permission denied"},
      {"value", ""}}},
    {"PROCESS=MMLOGDIR:robots STATUS=0 MSG=Set up log directory DIR=/usr/kumel/volmgr/debug/robots",
     "process",
     {{"category", "MMLOGDIR"},
      {"process", "robots"},
      number("status", 0),
      {"message", "Set up log directory"},
      {"directory", "/usr/kumel/volmgr/debug/robots"}}},
    {"PROCESS=MMLOGDIR:a STATUS=0 MSG= DIR=/usr/kumel/volmgr/debug/a",
     "process",
     {{"category", "MMLOGDIR"},
      {"process", "a"},
      number("status", 0),
      {"message", ""},
      {"directory", "/usr/kumel/volmgr/debug/a"}}},
    {"PROCESS=MMLOGDIR:ALL STATUS=1 MSG=Failed to create DIR=/usr/kumel/volmgr/debug E=30 (Read-only file system)",
     "process",
     {{"category", "MMLOGDIR"},
      {"process", "ALL"},
      number("status", 1),
      {"message", "Failed to create"},
      {"directory", "/usr/kumel/volmgr/debug"},
      number("errno", 30),
      {"errno_text", "Read-only file system"}}},
    {"PROCESS=ZMLOGDIR:jobd STATUS=0 MSG=Log directory exists DIR=/usr/kumel/zembrath/logs/jobd Perm=755",
     "process",
     {{"category", "ZMLOGDIR"},
      {"process", "jobd"},
      number("status", 0),
      {"message", "Log directory exists"},
      {"directory", "/usr/kumel/zembrath/logs/jobd"},
      {"permission", "755"}}},
    {"PROCESS=ZMLOGDIR: STATUS=1 MSG=Failed to create log directory DIR=/usr/kumel/zembrath/logs/ E=0 (Success)",
     "process",
     {{"category", "ZMLOGDIR"},
      {"process", ""},
      number("status", 1),
      {"message", "Failed to create log directory"},
      {"directory", "/usr/kumel/zembrath/logs/"},
      number("errno", 0),
      {"errno_text", "Success"}}},
    {"PROCESS=ZMKTUL:-5 STATUS=1 MSG=Failed to load KtUL CFG OID=-5 Product ID=51216",
     "process",
     {{"category", "ZMKTUL"},
      {"process", "-5"},
      number("status", 1),
      {"message", "Failed to load KtUL CFG"},
      number("oid", -5),
      number("product_id", 51216)}},
    {"PROCESS=QPKTUL:118 STATUS=1 MSG=failed to set debug level RV=22 LVL=-7",
     "process",
     {{"category", "QPKTUL"},
      {"process", "118"},
      number("status", 1),
      {"message", "failed to set debug level"},
      number("return_value", 22),
      number("level", -7)}},
    {"PROCESS=ZMKTUL:111 STATUS=0 MSG=DEBUG:111=1,111=6 DIAG:111=-2,111=6",
     "process",
     {{"category", "ZMKTUL"},
      {"process", "111"},
      number("status", 0),
      {"message", "DEBUG:111=1,111=6 DIAG:111=-2,111=6"},
      number("oid", 111),
      number("debug_before", 1),
      number("debug_after", 6),
      number("diagnostic_before", -2),
      number("diagnostic_after", 6)}},
    {"ZMSU PACKAGE=/tmp/a b/ZMSU PACKAGE=c", "package", {{"path", "/tmp/a b/ZMSU PACKAGE=c"}}},
    {"CALCLOGSIZE: TARGET_DIR=/var log FREE_SPACE=0 MB TOTAL_SPACE=18446744073709551615 MB",
     "space",
     {{"directory", "/var log"}, amount("free_mib", 0), amount("total_mib", 18446744073709551615U)}},
    {"CLEANUP: Successfully cleaned up /tmp/zmla-1-a",
     "cleanup",
     {{"result", "removed"}, {"directory", "/tmp/zmla-1-a"}}},
    {"CLEANUP: Failed to clean up /tmp/zmla-1-a: Directory not empty",
     "cleanup",
     {{"result", "failed"}, {"directory", "/tmp/zmla-1-a"}, {"error_text", "Directory not empty"}}},
    {"CLEANUP: Will not clean up unknown location: /a: b", "cleanup", {{"result", "refused"}, {"directory", "/a: b"}}},
    {"CLEANUP: Will not clean up unknown location: ", "cleanup", {{"result", "refused"}, {"directory", ""}}},
};

TEST(ParseAnswerLine, FindsTheFieldsOfEveryForm) {
    for (const KnownLine& known : known_lines) {
        const AnswerLine parsed = parse_answer_line(known.line);
        EXPECT_EQ(parsed.type, known.type) << known.line;
        ASSERT_EQ(parsed.fields.size(), known.fields.size()) << known.line;
        for (std::size_t i = 0; i != known.fields.size(); ++i) {
            EXPECT_EQ(parsed.fields[i].name, known.fields[i].name) << known.line;
            EXPECT_EQ(text_of(parsed.fields[i].value), text_of(known.fields[i].value)) << known.line;
        }
    }
}

const std::vector<std::string> other_lines = {
    "",
    "a tool's line",
    " PROCESS=VMCONF:vmd STATUS=0 MSG=Set debug logging",
    "PROCESS=VMCONF:vmd",
    "PROCESS=VMCONF:vmd STATUS=0",
    "PROCESS=VMCONF:vmd MSG=Set debug logging",
    "PROCESS=VMCONF:vmd MSG=Set debug logging STATUS=0",
    "PROCESS= STATUS=0 MSG=Success",
    "PROCESS=:a STATUS=0 MSG=Success",
    "PROCESS=vmconf:a STATUS=0 MSG=Success",
    "PROCESS=VM CONF:a STATUS=0 MSG=Success",
    "PROCESS=VMCONF:a STATUS= MSG=Success",
    "PROCESS=VMCONF:a STATUS=x MSG=Success",
    "PROCESS=VMCONF:a STATUS=+1 MSG=Success",
    "PROCESS=VMCONF:a STATUS=01 MSG=Success",
    "PROCESS=VMCONF:a STATUS=-0 MSG=Success",
    "PROCESS=VMCONF:a STATUS=2147483648 MSG=Success",
    "PROCESS=VMCONF:a STATUS=0 x MSG=Success",
    // a value that contains a key
    "PROCESS=VMCONF:a MSG=b STATUS=0 MSG=Set debug logging",
    "PROCESS=VMCONF:a STATUS=1 MSG=b STATUS=0 MSG=Set debug logging",
    "PROCESS=VMCONF:a DIR=/b STATUS=0 MSG=Set debug logging",
    "PROCESS=MMLOGDIR:a E=5 (b) STATUS=0 MSG=Set up log directory DIR=/usr/kumel/volmgr/debug/a E=5 (b)",
    "PROCESS=RK:a STATUS=0 MSG=Set debug logging 'b MSG=c'",
    "PROCESS=RK:a STATUS=5806 MSG=no entry (Value=b E=2 (c))",
    "PROCESS=RK:a STATUS=5806 MSG=no entry (Value=b) (Value=c)",
    // a line that the buffer of the agent cut, followed by the next line
    "PROCESS=VMCONF:aPROCESS=VMCONF:b STATUS=0 MSG=Set debug logging",
    "PROCESS=RK:a STATUS=0 MSG=SetPROCESS=RK:b STATUS=0 MSG=Set debug logging 'full'",
    "CALCLOGSIZE: TARGET_DIR=/aCALCLOGSIZE: TARGET_DIR=/b FREE_SPACE=1 MB TOTAL_SPACE=2 MB",
    // malformed values
    "PROCESS=VMCONF:a STATUS=5803 MSG=Could not open file /a E=2",
    "PROCESS=VMCONF:a STATUS=5803 MSG=Could not open file /a E=2 (No such file",
    "PROCESS=VMCONF:a STATUS=5803 MSG=Could not open file /a E=x (No such file)",
    "PROCESS=VMCONF:a STATUS=5803 MSG=Could not open file /a E=2(No such file)",
    "PROCESS=RK:a STATUS=5806 MSG=no entry (Value=b",
    "PROCESS=ZMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=/logs/a Perm=789",
    "PROCESS=ZMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=/logs/a Perm=",
    "PROCESS=ZMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=/logs/b Perm=755",
    "PROCESS=ZMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=/logsa Perm=755",
    "PROCESS=MMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=a",
    "PROCESS=MMLOGDIR:ALL STATUS=1 MSG=Failed to create DIR= E=30 (Read-only file system)",
    "PROCESS=ZMKTUL:111 STATUS=1 MSG=Failed to load KtUL CFG OID=112 Product ID=51216",
    "PROCESS=ZMKTUL:111 STATUS=1 MSG=Failed to load KtUL CFG OID=111 Product ID=x",
    "PROCESS=ZMKTUL:x STATUS=1 MSG=Failed to load KtUL CFG OID=x Product ID=51216",
    "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to set debug level RV=22 LVL=",
    // keys that never occur together
    "PROCESS=ZMKTUL:111 STATUS=1 MSG=Failed to load KtUL CFG OID=111",
    "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to set debug level RV=22",
    "PROCESS=ZMKTUL:111 STATUS=1 MSG=failed to set debug level LVL=1 RV=22",
    "PROCESS=ZMLOGDIR:a STATUS=0 MSG=Set up log directory DIR=/logs/a E=2 (b) Perm=755",
    "PROCESS=ZMLOGDIR:a STATUS=0 MSG=Set up log directory Perm=755",
    "ZMSU PACKAGE",
    "CALCLOGSIZE: TARGET_DIR=/a",
    "CALCLOGSIZE: TARGET_DIR=/a MB",
    "CALCLOGSIZE: TARGET_DIR=/a MB TOTAL_SPACE=2 MB",
    "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=1 MB TOTAL_SPACE=2",
    "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=1 TOTAL_SPACE=2 MB",
    "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=-1 MB TOTAL_SPACE=2 MB",
    "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=1 MB TOTAL_SPACE=18446744073709551616 MB",
    "CALCLOGSIZE: TARGET_DIR=/a FREE_SPACE=3 MB FREE_SPACE=1 MB TOTAL_SPACE=2 MB",
    "CLEANUP: Something else /a",
    "CLEANUP: Failed to clean up /a",
    "CLEANUP: Failed to clean up /a: b: Directory not empty",
    "CLEANUP: Failed to clean up /a:: Directory not empty: ",
    "EXIT STATUS 0 a tool's",
};

TEST(ParseAnswerLine, TakesAmbiguousAndOtherLinesForOutput) {
    for (const std::string& line : other_lines) {
        EXPECT_EQ(parse_answer_line(line), output_line(line)) << line;
    }
}

TEST(ParseAnswerLine, AddsOnlyLevelsOfTheProcess) {
    for (const std::string message :
         {"DEBUG:111=1,112=6 DIAG:111=6,111=6", "DEBUG:111=1,111=6 DIAG:112=6,111=6",
          "DEBUG:111=1,111=6 DIAG:111=6,112=6", "DEBUG:1=1,1=6 DIAG:1=6,1=6",
          "DEBUG:111=1,111=6 DIAG:111=6,111=", "DEBUG:111=1,111=6 DIAG:111=6", "DEBUG:111=1,111=6 DIAG:111=6,111=6 ",
          "DEBUG:111=1;111=6 DIAG:111=6,111=6", "DEBUG:111=1-2,111=6 DIAG:111=6,111=6"}) {
        const std::string line = "PROCESS=ZMKTUL:111 STATUS=0 MSG=" + message;
        EXPECT_EQ(parse_answer_line(line).fields,
                  (Fields{{"category", "ZMKTUL"}, {"process", "111"}, number("status", 0), {"message", message}}));
    }
}

TEST(ParseAnswerLine, AddsOnlyQuotedValues) {
    for (const std::string message : {"Set debug logging '", "Set debug logging 'full", "Set debug logging full'"}) {
        const std::string line = "PROCESS=RK:a STATUS=0 MSG=" + message;
        EXPECT_EQ(parse_answer_line(line).fields,
                  (Fields{{"category", "RK"}, {"process", "a"}, number("status", 0), {"message", message}}));
    }
}

TEST(ParseAnswerLine, TakesALineWithARepeatedFieldForOutput) {
    for (const std::string line : {"PROCESS=RK:a STATUS=0 MSG=Set debug logging 'b' (Value=c)",
                                   "PROCESS=ZMKTUL:1 STATUS=1 MSG=DEBUG:1=1,1=6 DIAG:1=6,1=6 OID=1 Product ID=2"}) {
        EXPECT_EQ(parse_answer_line(line), output_line(line)) << line;
    }
}

TEST(ParseAnswerLine, TakesALineAfterACutOneForOutput) {
    for (const KnownLine& one : known_lines) {
        if (one.type != "process" && one.type != "space") {
            continue;  // the agent never cuts the others
        }
        for (const KnownLine& other : known_lines) {
            // All lines of one answer are of one kind.
            for (std::size_t cut = 1; other.type == one.type && cut <= one.line.size(); ++cut) {
                const std::string line = one.line.substr(0, cut) + other.line;
                EXPECT_EQ(parse_answer_line(line).type, "output") << line;
            }
        }
    }
}

TEST(AnswersInForms, IsTrueForTheAgentsWordsAndUnknownWords) {
    for (const char* word : {"ENABLELOGGING", "RUNZMSU", "CALCLOGSIZE", "GETDISKSPACE", "ZMLA", "CLEANUP", "NEWWORD"}) {
        EXPECT_TRUE(answers_in_forms({word, "a"})) << word;
    }
}

TEST(AnswersInForms, IsFalseForWordsOfTools) {
    for (const char* word : {"zmsu", "zmcplogs", "ktlogcfg", "versioninfo"}) {
        EXPECT_FALSE(answers_in_forms({word})) << word;
    }
}

TEST(AnswersInForms, IsFalseForAnArgumentWithANewline) {
    EXPECT_FALSE(answers_in_forms({"CLEANUP", "a", "b\nCLEANUP: Successfully cleaned up c"}));
}

}  // namespace
