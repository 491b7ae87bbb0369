// Category RKPLUGIN: "LOGLEVEL" and "DEBUGLOG" of the storage plug-in.
#include "tests/end_to_end/logging/logging_case.h"

namespace {

const std::string rk_conf = "/usr/kumel/lib/stg-plugins/rk.conf";
const std::string rejection = "PROCESS=RKPLUGIN STATUS=1 MSG=Only 'rkplugin' is valid 'RKPLUGIN' log ID\n";
const std::string done = "PROCESS=RKPLUGIN:rkplugin STATUS=0 MSG=Set up rkplugin debug logging\n";
const std::string done_with_notice =
    "PROCESS=RKPLUGIN:rkplugin STATUS=0 MSG=INF: Parameter DEBUGLOG is not set in file "
    "/usr/kumel/lib/stg-plugins/rk.conf\n";

LogLine said(int level, const std::string& text) {
    return logged(level, "process_rkplugin", text);
}

class StoragePlugin : public LoggingTable {};

TEST_P(StoragePlugin, Row) {
    check(GetParam());
}

LoggingCase set(const std::string& name, const std::string& before, const std::string& after) {
    return {.name = name,
            .request = {"ENABLELOGGING", "RKPLUGIN:rkplugin"},
            .before = {file(rk_conf, before)},
            .answer = {done},
            .log = {said(4, done)},
            .after = {file(rk_conf, after)}};
}

const std::vector<LoggingCase> levels = {
    set("ReplacesAnActiveLine", "LOGLEVEL = 1\nDEBUGLOG = /\n", "LOGLEVEL = 10\nDEBUGLOG = /\n"),
    set("ReplacesEveryActiveLine", "LOGLEVEL = 1\nDEBUGLOG = /\nLOGLEVEL = 2\n",
        "LOGLEVEL = 10\nDEBUGLOG = /\nLOGLEVEL = 10\n"),
    set("ReplacesALineThatHoldsTheSettingAnywhere", "MAXLOGLEVEL = 3\nDEBUGLOG = /\n", "LOGLEVEL = 10\nDEBUGLOG = /\n"),
    set("ReplacesTheFirstCommentedLineAlone", "#LOGLEVEL = 1\n# LOGLEVEL = 2\nDEBUGLOG = /\n",
        "LOGLEVEL = 10\n# LOGLEVEL = 2\nDEBUGLOG = /\n"),
    set("AddsTheLine", "DEBUGLOG = /\n", "DEBUGLOG = /\nLOGLEVEL = 10\n"),
    set("TakesNoOtherSeparator", "LOGLEVEL=1\nLOGLEVEL  = 1\nDEBUGLOG = /\n",
        "LOGLEVEL=1\nLOGLEVEL  = 1\nDEBUGLOG = /\nLOGLEVEL = 10\n"),
};

INSTANTIATE_TEST_SUITE_P(Level, StoragePlugin, testing::ValuesIn(levels), name_of_logging_row);

// Each file has its level already.
LoggingCase debug_log(const std::string& name, const std::string& before, const std::string& after) {
    return set(name, "LOGLEVEL = 10\n" + before, "LOGLEVEL = 10\n" + after);
}

// No active line and none to restore: the file is written anew as it is, and that is told.
LoggingCase no_debug_log(const std::string& name, const std::string& text) {
    LoggingCase row = debug_log(name, text, text);
    row.answer = {done_with_notice};
    row.log = {{8, "set_parameter_value", "Parameter DEBUGLOG is not set in file " + rk_conf},
               said(4, done_with_notice)};
    return row;
}

const std::vector<LoggingCase> debug_logs = {
    debug_log("ActiveIsLeft", "DEBUGLOG = /\n", "DEBUGLOG = /\n"),
    debug_log("ActiveIsLeftWhateverItsValue", "DEBUGLOG = /var/x\n", "DEBUGLOG = /var/x\n"),
    debug_log("ActiveKeepsACommentedOneSo", "#DEBUGLOG = /\nDEBUGLOG = x\n#DEBUGLOG = /\n",
              "#DEBUGLOG = /\nDEBUGLOG = x\n#DEBUGLOG = /\n"),
    debug_log("ActiveIsALineThatHoldsTheSettingAnywhere", "#DEBUGLOG = /\nMYDEBUGLOG = x\n",
              "#DEBUGLOG = /\nMYDEBUGLOG = x\n"),
    debug_log("CommentedIsRestored", "#DEBUGLOG = /\n", "DEBUGLOG = /\n"),
    debug_log("CommentedIsRestoredWithoutLeadingBlanks", " \t#\t # DEBUGLOG = /\n", "DEBUGLOG = /\n"),
    debug_log("CommentedIsRestoredWithASpaceForEverySign", "##DEBUGLOG = / #old#\n", "DEBUGLOG = /  old \n"),
    debug_log("CommentedIsRestoredWithWhatStandsBeforeIt", "#old DEBUGLOG = /\n", "old DEBUGLOG = /\n"),
    debug_log("CommentedIsRestoredWithALongerValue", "#DEBUGLOG = /var/x\n", "DEBUGLOG = /var/x\n"),
    debug_log("CommentedIsRestoredWithItsCarriageReturn", "#DEBUGLOG = /\r\n", "DEBUGLOG = /\r\n"),
    debug_log("WithATrailingRemarkIsRestored", "DEBUGLOG = / # default\n", "DEBUGLOG = /   default\n"),
    debug_log("OnlyTheFirstCommentedIsRestored", "#DEBUGLOG = x\n#DEBUGLOG = /\n#DEBUGLOG = /\n",
              "#DEBUGLOG = x\nDEBUGLOG = /\n#DEBUGLOG = /\n"),
    no_debug_log("MissingIsTold", ""),
    no_debug_log("CommentedWithAnotherValueIsNotRestored", "#DEBUGLOG = x\n# DEBUGLOG =/\n"),
    no_debug_log("WithAnotherSeparatorIsNotMeant", "DEBUGLOG=/\n#DEBUGLOG=/\n"),
};

INSTANTIATE_TEST_SUITE_P(DebugLog, StoragePlugin, testing::ValuesIn(debug_logs), name_of_logging_row);

// The rejection is told, and the first value is applied all the same.
LoggingCase rejected(const std::string& name, const std::string& values, const std::string& shown,
                     const std::string& level) {
    const std::string line = "PROCESS=RKPLUGIN:" + shown + " STATUS=0 MSG=Set up rkplugin debug logging\n";
    return {.name = name,
            .request = {"ENABLELOGGING", "RKPLUGIN:" + values},
            .before = {file(rk_conf, "LOGLEVEL = 1\n#DEBUGLOG = /\n")},
            .answer = {rejection, line},
            .log = {said(16, rejection), said(4, line)},
            .after = {file(rk_conf, "LOGLEVEL = " + level + "\nDEBUGLOG = /\n")}};
}

const std::vector<LoggingCase> rejections = {
    rejected("OfALevel", "rkplugin=3", "rkplugin", "3"),
    rejected("OfAnEmptyLevel", "rkplugin=", "rkplugin", ""),
    rejected("OfALevelWithAnything", "rkplugin= 3=x ", "rkplugin", " 3=x "),
    rejected("OfAnotherName", "other", "other", "10"),
    rejected("OfTheNameInCapitals", "RKPLUGIN", "RKPLUGIN", "10"),
    rejected("OfTwoValues", "rkplugin,rkplugin=3", "rkplugin", "10"),
    rejected("OfTheDefaultLevelNamed", "rkplugin=10", "rkplugin", "10"),
    rejected("OfEmptyValues", ",", "", "10"),
};

INSTANTIATE_TEST_SUITE_P(Rejection, StoragePlugin, testing::ValuesIn(rejections), name_of_logging_row);

LoggingCase failure(const std::string& name, const std::vector<FileState>& before, const std::string& message,
                    const std::vector<FileState>& after = {}) {
    const std::string line = "PROCESS=RKPLUGIN:rkplugin STATUS=5803 MSG=" + message + "\n";
    return {.name = name,
            .request = {"RESETLOGGING", "RKPLUGIN:rkplugin"},
            .before = before,
            .answer = {line},
            .log = {{16, "set_parameter_value", message}, said(16, line)},
            .after = after};
}

LoggingCase rejected_too(LoggingCase row) {
    row.name = "RejectionAndFailure";
    row.request[1] += "=3";
    row.answer.insert(row.answer.begin(), rejection);
    row.log.insert(row.log.begin(), said(16, rejection));
    return row;
}

const LoggingCase missing_file =
    failure("FileIsMissing", {}, "Could not open file " + rk_conf + " E=2 (No such file or directory)");

const std::vector<LoggingCase> failures = {
    missing_file,
    rejected_too(missing_file),
    failure("CopyIsAFolder", {file(rk_conf), folder(rk_conf + ".new")},
            "Could not open file " + rk_conf + ".new for writing E=21 (Is a directory)"),
    failure("FileIsAFolder", {folder(rk_conf)},
            "Failed to rename " + rk_conf + ".new to " + rk_conf + " E=21 (Is a directory)",
            {file(rk_conf + ".new", "LOGLEVEL = 10\n")}),
};

INSTANTIATE_TEST_SUITE_P(Failure, StoragePlugin, testing::ValuesIn(failures), name_of_logging_row);

}  // namespace
