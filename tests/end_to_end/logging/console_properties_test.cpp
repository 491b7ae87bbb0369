// Category JAVAGUI: command tracing and the debug mask in Debug.properties.
#include "tests/end_to_end/logging/logging_case.h"

namespace {

using log_level::error;
using log_level::information;

const std::string properties = "/usr/kumel/java/Debug.properties";
const std::string done = "PROCESS=JAVAGUI:gui STATUS=0 MSG=Set up Debug.properties\n";

LogLine said(const std::string& line) {
    return logged(information, "process_javagui", line);
}

LogLine notice(const std::string& key) {
    return {information, "unset_parameter", "Parameter " + key + " is not set in file " + properties};
}

class ConsoleProperties : public RequestTable {};

TEST_P(ConsoleProperties, AnswersLogsAndChangesFiles) {
    check_logging(GetParam());
}

RequestCase enable(const std::string& name, const std::string& before, const std::string& after,
                   const std::string& value = "gui") {
    return {.name = name,
            .request = {"ENABLELOGGING", "JAVAGUI:" + value},
            .before = {file(properties, before)},
            .answer = {done},
            .log = {said(done)},
            .after = {file(properties, after)}};
}

// Further values of the request. Each repeats the outcome of the first one under its own name.
RequestCase repeated(RequestCase row, const std::vector<std::string>& values) {
    for (const std::string& value : values) {
        const std::string name = value.substr(0, value.find('='));
        row.request[1] += "," + value;
        row.answer += "PROCESS=JAVAGUI:" + name + row.answer.lines()[0].substr(row.answer.lines()[0].find(" STATUS"));
        row.log.push_back(said(row.answer.lines().back()));
    }
    return row;
}

INSTANTIATE_TEST_SUITE_P(
    Enable, ConsoleProperties,
    testing::ValuesIn(std::vector<RequestCase>{
        enable("AddsBothEntries", "a=b\n", "a=b\nprintcmds=true\ndebugMask=0x00040000\n"),
        enable("FillsAnEmptyFile", "", "printcmds=true\ndebugMask=0x00040000\n"),
        enable("ReplacesActiveEntries", "debugMask=0x1\nprintcmds=false\n", "debugMask=0x00040000\nprintcmds=true\n"),
        enable("UncommentsEntries", "#debugMask=0x1\n# printcmds=false\n#printcmds=true\n",
               "debugMask=0x00040000\nprintcmds=true\n#printcmds=true\n"),
        enable("ReplacesLinesThatHoldAKeyAnywhere", "my.printcmds=1\n!debugMask=2\n",
               "printcmds=true\ndebugMask=0x00040000\n"),
        enable("IgnoresOtherSeparators", "printcmds = 1\ndebugMask:2\nPRINTCMDS=3\n",
               "printcmds = 1\ndebugMask:2\nPRINTCMDS=3\nprintcmds=true\ndebugMask=0x00040000\n"),
        enable("KeepsCarriageReturnsOfOtherLines", "a\r\nprintcmds=1\r\n",
               "a\r\nprintcmds=true\ndebugMask=0x00040000\n"),
        enable("WritesTheMaskOfTheValue", "", "printcmds=true\ndebugMask=0x1\n", "gui=0x1"),
        enable("WritesAnEmptyMask", "", "printcmds=true\ndebugMask=\n", "gui="),
        enable("WritesAnyMaskUnchanged", "", "printcmds=true\ndebugMask= a=b%s\n", "gui= a=b%s"),
        repeated(enable("WritesOnlyTheMaskOfTheFirstValue", "", "printcmds=true\ndebugMask=0x1\n", "gui=0x1"),
                 {"b=0x2", "", "gui=0x3"}),
        repeated(enable("WritesTheDefaultMaskIfTheFirstValueHasNone", "", "printcmds=true\ndebugMask=0x00040000\n"),
                 {"b=0x2"}),
    }),
    name_of_row);

// Disabling and resetting do the same.
std::vector<RequestCase> rows_of_disabling(const std::string& word) {
    const auto row = [&](const std::string& name, const std::string& before, const std::string& after) {
        RequestCase result = enable(name, before, after);
        result.request[0] = word;
        return result;
    };
    // The response line has only the notice of the second edit. The log has both.
    const auto row_with_notice = [&](const std::string& name, const std::string& before, const std::string& after) {
        RequestCase result = row(name, before, after);
        result.answer = {
            "PROCESS=JAVAGUI:gui STATUS=0 MSG=Set up Debug.properties (Parameter debugMask is not set in file "
            "/usr/kumel/java/Debug.properties)\n"};
        result.log = {notice("debugMask"), said(result.answer.text())};
        return result;
    };
    RequestCase first_missing = row("DoesNotReportAMissingFirstEntry", "debugMask=1\n", "#debugMask=1\n");
    first_missing.log.insert(first_missing.log.begin(), notice("printcmds"));
    RequestCase both_missing = row_with_notice("LeavesAFileWithoutTheEntries", "#printcmds=true\n debugMask=1\n", "");
    both_missing.log.insert(both_missing.log.begin(), notice("printcmds"));
    both_missing.after = {};
    return {
        row("CommentsOutBothEntries", "a=b\nprintcmds=true\ndebugMask=0x00040000\n",
            "a=b\n#printcmds=true\n#debugMask=0x00040000\n"),
        row("CommentsOutEveryEntryWithAnyValue", "printcmds=\nprintcmds=x\ndebugMask=1\ndebugMask=2\n",
            "#printcmds=\n#printcmds=x\n#debugMask=1\n#debugMask=2\n"),
        row("LeavesLinesThatHoldAKeyElsewhere", " printcmds=1\n#debugMask=1\nxdebugMask=1\nprintcmds=1\ndebugMask=1\n",
            " printcmds=1\n#debugMask=1\nxdebugMask=1\n#printcmds=1\n#debugMask=1\n"),
        row_with_notice("ReportsAMissingSecondEntry", "printcmds=true\n", "#printcmds=true\n"),
        repeated(row_with_notice("ReportsAMissingSecondEntryForEachValue", "printcmds=true\n", "#printcmds=true\n"),
                 {"b=1", "c"}),
        first_missing,
        both_missing,
    };
}

INSTANTIATE_TEST_SUITE_P(Disable, ConsoleProperties, testing::ValuesIn(rows_of_disabling("DISABLELOGGING")),
                         name_of_row);
INSTANTIATE_TEST_SUITE_P(Reset, ConsoleProperties, testing::ValuesIn(rows_of_disabling("RESETLOGGING")), name_of_row);

RequestCase failure(const std::string& name, const std::string& word, const std::vector<FileState>& before,
                    const std::string& message) {
    const bool enabling = word == "ENABLELOGGING";
    const std::string line =
        std::string("PROCESS=JAVAGUI:gui STATUS=") + (enabling ? "5803" : "5804") + " MSG=" + message + "\n";
    return {.name = name,
            .request = {word, "JAVAGUI:gui"},
            .before = before,
            .answer = {line},
            .log = {{error, enabling ? "set_parameter_value" : "unset_parameter", message}, said(line)}};
}

const std::string not_found = "Could not open file " + properties + " E=2 (No such file or directory)";
const std::string no_copy = "Could not open file " + properties + ".new for writing E=21 (Is a directory)";

INSTANTIATE_TEST_SUITE_P(Failure, ConsoleProperties,
                         testing::ValuesIn(std::vector<RequestCase>{
                             repeated(failure("EnableNeedsTheFile", "ENABLELOGGING", {}, not_found), {"b"}),
                             repeated(failure("DisableNeedsTheFile", "DISABLELOGGING", {}, not_found), {"b=1"}),
                             failure("ResetNeedsTheFile", "RESETLOGGING", {}, not_found),
                             failure("EnableNeedsRoomForTheCopy", "ENABLELOGGING",
                                     {file(properties, "a\n"), folder(properties + ".new")}, no_copy),
                             failure("DisableNeedsRoomForTheCopy", "DISABLELOGGING",
                                     {file(properties, "printcmds=true\n"), folder(properties + ".new")}, no_copy),
                         }),
                         name_of_row);

RequestCase failure_of_the_second_edit() {
    RequestCase row = failure("OnlyTheSecondEditFails", "DISABLELOGGING",
                              {file(properties, "debugMask=1\n"), folder(properties + ".new")}, no_copy);
    row.log.insert(row.log.begin(), notice("printcmds"));
    return row;
}

INSTANTIATE_TEST_SUITE_P(FailureOfTheSecond, ConsoleProperties,
                         testing::ValuesIn(std::vector<RequestCase>{
                             failure_of_the_second_edit(),
                         }),
                         name_of_row);

}  // namespace
