// Category VMCONF: the line "VERBOSE" of vm.conf.
#include "tests/end_to_end/logging/logging_case.h"

namespace {

using log_level::error;
using log_level::information;

const std::string vm_conf = "/usr/kumel/volmgr/vm.conf";
const std::string copy_of_vm_conf = vm_conf + ".new";
const std::string done = "PROCESS=VMCONF:daemon1 STATUS=0 MSG=Set debug logging\n";

LogLine said(const std::string& line) {
    return logged(information, "process_vmconf", line);
}

LogLine set_failed(const std::string& text) {
    return {error, "set_parameter_value", text};
}

LogLine unset_failed(const std::string& text) {
    return {error, "unset_parameter", text};
}

RequestCase edit(const std::string& name, const std::string& word, const std::string& before,
                 const std::string& after) {
    return {.name = name,
            .request = {word, "VMCONF:daemon1"},
            .before = {file(vm_conf, before)},
            .answer = {done},
            .log = {said(done)},
            .after = {file(vm_conf, after)}};
}

RequestCase enable(const std::string& name, const std::string& before, const std::string& after) {
    return edit(name, "ENABLELOGGING", before, after);
}

// The file has no such line and does not change.
RequestCase nothing_to_disable(const std::string& name, const std::string& word, const std::string& text) {
    RequestCase row = edit(name, word, text, "");
    row.log = {{information, "unset_parameter", "Parameter VERBOSE is not set in file " + vm_conf}, said(done)};
    row.after = {};
    return row;
}

class VolumeManager : public RequestTable {};

TEST_P(VolumeManager, AnswersLogsAndChangesFiles) {
    check_logging(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Enable, VolumeManager,
    testing::ValuesIn(std::vector<RequestCase>{
        enable("AppendsTheLine", "A = 1\n", "A = 1\nVERBOSE\n"),
        enable("FillsAnEmptyFile", "", "VERBOSE\n"),
        enable("RewritesAFileThatHasTheLine", "A\nVERBOSE\nB\n", "A\nVERBOSE\nB\n"),
        enable("UncommentsALine", "#VERBOSE\n", "VERBOSE\n"),
        enable("ReplacesTheWholeLine", "VERBOSE=2\n", "VERBOSE\n"),
        enable("ReplacesALineThatHoldsTheWordAnywhere", "  MY_VERBOSE_X = 1\n", "VERBOSE\n"),
        enable("ReplacesEveryActiveLine", "VERBOSE 1\nA\nVERBOSE 2\n", "VERBOSE\nA\nVERBOSE\n"),
        enable("LeavesCommentedLinesBesideAnActiveOne", "#VERBOSE\nVERBOSE\n# VERBOSE = 1\n",
               "#VERBOSE\nVERBOSE\n# VERBOSE = 1\n"),
        enable("ReplacesOnlyTheFirstCommentedLine", "#VERBOSE 1\n#VERBOSE 2\n", "VERBOSE\n#VERBOSE 2\n"),
        enable("TreatsALineWithATrailingCommentAsCommented", "VERBOSE # on\n", "VERBOSE\n"),
        enable("LeavesALineWithATrailingCommentBesideAnActiveOne", "VERBOSE # on\nVERBOSE\n",
               "VERBOSE # on\nVERBOSE\n"),
        enable("LooksOnlyForUpperCase", "verbose\nVerbose\n", "verbose\nVerbose\nVERBOSE\n"),
        enable("EndsTheLastLine", "A", "A\nVERBOSE\n"),
        enable("EndsTheLastLineThatItReplaces", "#VERBOSE", "VERBOSE\n"),
        enable("KeepsBlankLines", "\n \n\t\n\n", "\n \n\t\n\nVERBOSE\n"),
        enable("KeepsCarriageReturns", "A\r\n#B\r\n", "A\r\n#B\r\nVERBOSE\n"),
        enable("WritesItsOwnLineWithoutACarriageReturn", "A\r\nVERBOSE\r\n", "A\r\nVERBOSE\n"),
        enable("KeepsBytesThatAreNotText", std::string("a\0b\n\xff\x01\x7f\n", 8),
               std::string("a\0b\n\xff\x01\x7f\nVERBOSE\n", 16)),
        enable("FindsTheWordAfterAZeroByte", std::string("a\0VERBOSE\nb\n", 12), "VERBOSE\nb\n"),
        enable("KeepsALongLine", std::string(1'000'000, 'x'), std::string(1'000'000, 'x') + "\nVERBOSE\n"),
    }),
    name_of_row);

// Disabling and resetting do the same.
std::vector<RequestCase> rows_of_disabling(const std::string& word) {
    return {
        edit("CommentsOutTheLine", word, "A\nVERBOSE\nB\n", "A\n#VERBOSE\nB\n"),
        edit("CommentsOutEveryLineThatBeginsWithTheWord", word, "VERBOSE_X = 1\nA\nVERBOSE\nVERBOSE\n",
             "#VERBOSE_X = 1\nA\n#VERBOSE\n#VERBOSE\n"),
        edit("LeavesLinesWithTheWordElsewhere", word, " VERBOSE\n#VERBOSE\nMY_VERBOSE\nVERBOSE\n",
             " VERBOSE\n#VERBOSE\nMY_VERBOSE\n#VERBOSE\n"),
        edit("EndsTheLastLine", word, "A\nVERBOSE", "A\n#VERBOSE\n"),
        edit("KeepsCarriageReturns", word, "A\r\nVERBOSE\r\n", "A\r\n#VERBOSE\r\n"),
        edit("KeepsATrailingComment", word, "VERBOSE # on\n", "#VERBOSE # on\n"),
        edit("KeepsBytesThatAreNotText", word, std::string("a\0\n\xff\nVERBOSE\0x\n", 15),
             std::string("a\0\n\xff\n#VERBOSE\0x\n", 16)),
        nothing_to_disable("LeavesAFileWhereTheLineIsCommented", word, "#VERBOSE\nA = 1\n"),
        nothing_to_disable("LeavesAFileWithoutTheLine", word, "A = 1\n VERBOSE\nverbose\n"),
        nothing_to_disable("LeavesALastLineWithoutANewline", word, "A = 1"),
        nothing_to_disable("LeavesAnEmptyFile", word, ""),
    };
}

INSTANTIATE_TEST_SUITE_P(Disable, VolumeManager, testing::ValuesIn(rows_of_disabling("DISABLELOGGING")), name_of_row);
INSTANTIATE_TEST_SUITE_P(Reset, VolumeManager, testing::ValuesIn(rows_of_disabling("RESETLOGGING")), name_of_row);

// One response line for each entry, with any text.
RequestCase entries(const std::string& name, const std::string& argument, const std::vector<std::string>& answer) {
    RequestCase row = enable(name, "A\n", "A\nVERBOSE\n");
    row.request = {"ENABLELOGGING", argument};
    row.answer = answer;
    row.log.clear();
    for (const std::string& line : answer) {
        row.log.push_back(said(line));
    }
    return row;
}

INSTANTIATE_TEST_SUITE_P(Entries, VolumeManager,
                         testing::ValuesIn(std::vector<RequestCase>{
                             entries("ShareOneChange", "VMCONF:daemon1,daemon2",
                                     {"PROCESS=VMCONF:daemon1 STATUS=0 MSG=Set debug logging\n",
                                      "PROCESS=VMCONF:daemon2 STATUS=0 MSG=Set debug logging\n"}),
                             entries("AreNotInterpreted", "VMCONF:a=1,,%s%n,b c",
                                     {"PROCESS=VMCONF:a=1 STATUS=0 MSG=Set debug logging\n",
                                      "PROCESS=VMCONF: STATUS=0 MSG=Set debug logging\n",
                                      "PROCESS=VMCONF:%s%n STATUS=0 MSG=Set debug logging\n",
                                      "PROCESS=VMCONF:b c STATUS=0 MSG=Set debug logging\n"}),
                             entries("MayHoldANewline", "VMCONF:a\nb",
                                     {"PROCESS=VMCONF:a\nb STATUS=0 MSG=Set debug logging\n"}),
                             entries("MayRepeat", "VMCONF:a,a",
                                     {"PROCESS=VMCONF:a STATUS=0 MSG=Set debug logging\n",
                                      "PROCESS=VMCONF:a STATUS=0 MSG=Set debug logging\n"}),
                         }),
                         name_of_row);

const std::string not_found = "Could not open file " + vm_conf + " E=2 (No such file or directory)";
const std::string no_copy = "Could not open file " + copy_of_vm_conf + " for writing E=21 (Is a directory)";
const std::string no_rename = "Failed to rename " + copy_of_vm_conf + " to " + vm_conf + " E=21 (Is a directory)";

RequestCase failure(const std::string& name, const std::string& word, const std::vector<FileState>& before,
                    const LogLine& message) {
    const std::string status = word == "ENABLELOGGING" ? "5803" : "5804";
    const std::string line = "PROCESS=VMCONF:daemon1 STATUS=" + status + " MSG=" + message.text + "\n";
    return {.name = name,
            .request = {word, "VMCONF:daemon1"},
            .before = before,
            .answer = {line},
            .log = {message, said(line)}};
}

RequestCase two_entries(RequestCase row) {
    row.request[1] += ",daemon2";
    row.answer += "PROCESS=VMCONF:daemon2" + row.answer.lines()[0].substr(row.answer.lines()[0].find(" STATUS"));
    row.log.push_back(said(row.answer.lines()[1]));
    return row;
}

// A folder in place of the file opens and has no lines. Only the rename over it fails, and the copy stays.
RequestCase failed_rename() {
    RequestCase row = failure("RenameFailsAndLeavesTheCopy", "ENABLELOGGING", {folder(vm_conf)}, set_failed(no_rename));
    row.after = {file(copy_of_vm_conf, "VERBOSE\n")};
    return row;
}

INSTANTIATE_TEST_SUITE_P(Failure, VolumeManager,
                         testing::ValuesIn(std::vector<RequestCase>{
                             two_entries(failure("EnableNeedsTheFile", "ENABLELOGGING", {}, set_failed(not_found))),
                             two_entries(failure("DisableNeedsTheFile", "DISABLELOGGING", {}, unset_failed(not_found))),
                             failure("ResetNeedsTheFile", "RESETLOGGING", {}, unset_failed(not_found)),
                             failure("EnableNeedsTheFolder", "ENABLELOGGING", {missing("/usr/kumel/volmgr")},
                                     set_failed(not_found)),
                             failure("EnableNeedsRoomForTheCopyAlsoWhenNothingChanges", "ENABLELOGGING",
                                     {file(vm_conf, "VERBOSE\n"), folder(copy_of_vm_conf)}, set_failed(no_copy)),
                             failure("DisableNeedsRoomForTheCopy", "DISABLELOGGING",
                                     {file(vm_conf, "VERBOSE\n"), folder(copy_of_vm_conf)}, unset_failed(no_copy)),
                             failed_rename(),
                         }),
                         name_of_row);

RequestCase with(RequestCase row, const FileState& state) {
    row.before.push_back(state);
    return row;
}

RequestCase through_a_link() {
    RequestCase row = enable("ReplacesALinkByAFile", "", "A\nVERBOSE\n");
    row.before = {file("/usr/kumel/real.conf", "A\n"), soft_link(vm_conf, "/usr/kumel/real.conf")};
    return row;
}

RequestCase over_a_stale_copy() {
    RequestCase row = with(enable("EmptiesAStaleCopy", "A\n", "A\nVERBOSE\n"),
                           file(copy_of_vm_conf, "stale, and longer than the new text\n"));
    row.after.push_back(missing(copy_of_vm_conf));
    return row;
}

INSTANTIATE_TEST_SUITE_P(Copy, VolumeManager,
                         testing::ValuesIn(std::vector<RequestCase>{
                             with(nothing_to_disable("IsNotNeededWhenNothingIsToBeUnset", "DISABLELOGGING", "A\n"),
                                  folder(copy_of_vm_conf)),
                             with(nothing_to_disable("IsLeftWhenNothingIsToBeUnset", "DISABLELOGGING", "A\n"),
                                  file(copy_of_vm_conf, "stale\n")),
                             over_a_stale_copy(),
                             through_a_link(),
                         }),
                         name_of_row);

}  // namespace
