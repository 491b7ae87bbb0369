// Category RKPLUGIN: "LOGLEVEL" and "DEBUGLOG" of the storage plug-in.
#include "tests/end_to_end/logging/logging_case.h"

namespace {

using log_level::error;
using log_level::information;
using log_level::warning;

const std::string rk_conf = "/usr/kumel/lib/stg-plugins/rk.conf";
const std::string rejection = "PROCESS=RKPLUGIN STATUS=1 MSG=Only 'rkplugin' is valid 'RKPLUGIN' log ID\n";
const std::string done = "PROCESS=RKPLUGIN:rkplugin STATUS=0 MSG=Set up rkplugin debug logging\n";
const std::string done_with_notice =
    "PROCESS=RKPLUGIN:rkplugin STATUS=0 MSG=INF: Parameter DEBUGLOG is not set in file "
    "/usr/kumel/lib/stg-plugins/rk.conf\n";

LogLine said(int level, const std::string& text) {
    return logged(level, "process_rkplugin", text);
}

class StoragePlugin : public RequestTable {};

TEST_P(StoragePlugin, AnswersLogsAndChangesFiles) {
    check_logging(GetParam());
}

RequestCase set(const std::string& name, const std::string& before, const std::string& after) {
    return {.name = name,
            .request = {"ENABLELOGGING", "RKPLUGIN:rkplugin"},
            .before = {file(rk_conf, before)},
            .answer = {done},
            .log = {said(information, done)},
            .after = {file(rk_conf, after)}};
}

const std::vector<RequestCase> levels = {
    set("ReplacesAnActiveLine", "LOGLEVEL = 1\nDEBUGLOG = /\n", "LOGLEVEL = 10\nDEBUGLOG = /\n"),
    set("ReplacesEveryActiveLine", "LOGLEVEL = 1\nDEBUGLOG = /\nLOGLEVEL = 2\n",
        "LOGLEVEL = 10\nDEBUGLOG = /\nLOGLEVEL = 10\n"),
    set("ReplacesALineThatHoldsTheSettingAnywhere", "MAXLOGLEVEL = 3\nDEBUGLOG = /\n", "LOGLEVEL = 10\nDEBUGLOG = /\n"),
    set("ReplacesOnlyTheFirstCommentedLine", "#LOGLEVEL = 1\n# LOGLEVEL = 2\nDEBUGLOG = /\n",
        "LOGLEVEL = 10\n# LOGLEVEL = 2\nDEBUGLOG = /\n"),
    set("AddsTheLine", "DEBUGLOG = /\n", "DEBUGLOG = /\nLOGLEVEL = 10\n"),
    set("IgnoresOtherSeparators", "LOGLEVEL=1\nLOGLEVEL  = 1\nDEBUGLOG = /\n",
        "LOGLEVEL=1\nLOGLEVEL  = 1\nDEBUGLOG = /\nLOGLEVEL = 10\n"),
};

INSTANTIATE_TEST_SUITE_P(Level, StoragePlugin, testing::ValuesIn(levels), name_of_row);

// The level in the file is already right.
RequestCase debug_log(const std::string& name, const std::string& before, const std::string& after) {
    return set(name, "LOGLEVEL = 10\n" + before, "LOGLEVEL = 10\n" + after);
}

// No active line and none to restore. The agent rewrites the file unchanged and reports that.
RequestCase no_debug_log(const std::string& name, const std::string& text) {
    RequestCase row = debug_log(name, text, text);
    row.answer = {done_with_notice};
    row.log = {{warning, "set_parameter_value", "Parameter DEBUGLOG is not set in file " + rk_conf},
               said(information, done_with_notice)};
    return row;
}

const std::vector<RequestCase> debug_logs = {
    debug_log("ActiveIsLeft", "DEBUGLOG = /\n", "DEBUGLOG = /\n"),
    debug_log("ActiveIsLeftWithAnyValue", "DEBUGLOG = /var/x\n", "DEBUGLOG = /var/x\n"),
    debug_log("CommentedStaysBesideAnActiveOne", "#DEBUGLOG = /\nDEBUGLOG = x\n#DEBUGLOG = /\n",
              "#DEBUGLOG = /\nDEBUGLOG = x\n#DEBUGLOG = /\n"),
    debug_log("ActiveIsALineThatHoldsTheSettingAnywhere", "#DEBUGLOG = /\nMYDEBUGLOG = x\n",
              "#DEBUGLOG = /\nMYDEBUGLOG = x\n"),
    debug_log("CommentedIsRestored", "#DEBUGLOG = /\n", "DEBUGLOG = /\n"),
    debug_log("CommentedIsRestoredWithoutLeadingSpaces", " \t#\t # DEBUGLOG = /\n", "DEBUGLOG = /\n"),
    debug_log("CommentedIsRestoredWithASpaceForEverySign", "##DEBUGLOG = / #old#\n", "DEBUGLOG = /  old \n"),
    debug_log("CommentedIsRestoredWithTheTextBeforeIt", "#old DEBUGLOG = /\n", "old DEBUGLOG = /\n"),
    debug_log("CommentedIsRestoredWithALongerValue", "#DEBUGLOG = /var/x\n", "DEBUGLOG = /var/x\n"),
    debug_log("CommentedIsRestoredWithItsCarriageReturn", "#DEBUGLOG = /\r\n", "DEBUGLOG = /\r\n"),
    debug_log("LineWithATrailingCommentIsRestored", "DEBUGLOG = / # default\n", "DEBUGLOG = /   default\n"),
    debug_log("OnlyTheFirstCommentedIsRestored", "#DEBUGLOG = x\n#DEBUGLOG = /\n#DEBUGLOG = /\n",
              "#DEBUGLOG = x\nDEBUGLOG = /\n#DEBUGLOG = /\n"),
    no_debug_log("MissingIsReported", ""),
    no_debug_log("CommentedWithAnotherValueIsNotRestored", "#DEBUGLOG = x\n# DEBUGLOG =/\n"),
    no_debug_log("LineWithAnotherSeparatorIsIgnored", "DEBUGLOG=/\n#DEBUGLOG=/\n"),
};

INSTANTIATE_TEST_SUITE_P(DebugLog, StoragePlugin, testing::ValuesIn(debug_logs), name_of_row);

// The agent reports the rejection and applies the first value anyway.
RequestCase rejected(const std::string& name, const std::string& values, const std::string& shown,
                     const std::string& level) {
    const std::string line = "PROCESS=RKPLUGIN:" + shown + " STATUS=0 MSG=Set up rkplugin debug logging\n";
    return {.name = name,
            .request = {"ENABLELOGGING", "RKPLUGIN:" + values},
            .before = {file(rk_conf, "LOGLEVEL = 1\n#DEBUGLOG = /\n")},
            .answer = {rejection, line},
            .log = {said(error, rejection), said(information, line)},
            .after = {file(rk_conf, "LOGLEVEL = " + level + "\nDEBUGLOG = /\n")}};
}

const std::vector<RequestCase> rejections = {
    rejected("OfALevel", "rkplugin=3", "rkplugin", "3"),
    rejected("OfAnEmptyLevel", "rkplugin=", "rkplugin", ""),
    rejected("OfALevelWithAnyText", "rkplugin= 3=x ", "rkplugin", " 3=x "),
    rejected("OfAnotherName", "other", "other", "10"),
    rejected("OfTheNameInUpperCase", "RKPLUGIN", "RKPLUGIN", "10"),
    rejected("OfTwoValues", "rkplugin,rkplugin=3", "rkplugin", "10"),
    rejected("OfTheDefaultLevel", "rkplugin=10", "rkplugin", "10"),
    rejected("OfEmptyValues", ",", "", "10"),
};

INSTANTIATE_TEST_SUITE_P(Rejection, StoragePlugin, testing::ValuesIn(rejections), name_of_row);

RequestCase failure(const std::string& name, const std::vector<FileState>& before, const std::string& message,
                    const std::vector<FileState>& after = {}) {
    const std::string line = "PROCESS=RKPLUGIN:rkplugin STATUS=5803 MSG=" + message + "\n";
    return {.name = name,
            .request = {"RESETLOGGING", "RKPLUGIN:rkplugin"},
            .before = before,
            .answer = {line},
            .log = {{error, "set_parameter_value", message}, said(error, line)},
            .after = after};
}

RequestCase rejected_too(RequestCase row) {
    row.name = "RejectionAndFailure";
    row.request[1] += "=3";
    row.answer = {rejection, row.answer.text()};
    row.log.insert(row.log.begin(), said(error, rejection));
    return row;
}

const RequestCase missing_file =
    failure("FileIsMissing", {}, "Could not open file " + rk_conf + " E=2 (No such file or directory)");

const std::vector<RequestCase> failures = {
    missing_file,
    rejected_too(missing_file),
    failure("CopyIsAFolder", {file(rk_conf), folder(rk_conf + ".new")},
            "Could not open file " + rk_conf + ".new for writing E=21 (Is a directory)"),
    failure("FileIsAFolder", {folder(rk_conf)},
            "Failed to rename " + rk_conf + ".new to " + rk_conf + " E=21 (Is a directory)",
            {file(rk_conf + ".new", "LOGLEVEL = 10\n")}),
};

INSTANTIATE_TEST_SUITE_P(Failure, StoragePlugin, testing::ValuesIn(failures), name_of_row);

}  // namespace
