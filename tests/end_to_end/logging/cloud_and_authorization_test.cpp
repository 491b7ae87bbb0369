// Categories CORVID, CLOUD and HOLKAZ: components with one log-level entry.
#include "tests/end_to_end/logging/logging_case.h"

namespace {

using log_level::error;

const std::string storage_server = "/usr/kumel/lib/stg-plugins/wqf.conf";
const std::string recovery_server = "/usr/kumel/lib/stg-plugins/hlt.conf";
const std::string store_container = "/usr/kumel/lib/stg-plugins/skyhold.conf";
const std::string authorization = "/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf";

Outcome done(const std::string& category, const std::string& name) {
    return {"PROCESS=" + category + ":" + name + " STATUS=0 MSG=Set up " + name + " debug logging\n"};
}

Outcome failed(const std::string& category, const std::string& name, const std::string& message) {
    return {"PROCESS=" + category + ":" + name + " STATUS=5803 MSG=" + message + "\n",
            {logged(error, "set_parameter_value", message)}};
}

Outcome not_found(const std::string& category, const std::string& name, const std::string& path) {
    return failed(category, name, "Could not open file " + path + " E=2 (No such file or directory)");
}

RequestCase row_of(const std::string& name, const std::string& argument, const std::vector<FileState>& before,
                   const std::vector<Outcome>& outcomes, const std::vector<FileState>& after, int status = 0) {
    RequestCase row = {
        .name = name, .request = {"ENABLELOGGING", argument}, .before = before, .status = status, .after = after};
    add(row, "process_config_file_entry", outcomes);
    return row;
}

RequestCase with_word(const std::string& word, RequestCase row) {
    row.request[0] = word;
    return row;
}

class CloudAndAuthorization : public RequestTable {};

TEST_P(CloudAndAuthorization, AnswersLogsAndChangesFiles) {
    check_logging(GetParam());
}

// One value for the recovery server, under any name.
RequestCase recovery(const std::string& name, const std::string& value, const std::string& level) {
    const std::string component = value.substr(0, value.find('='));
    return row_of(name, "CORVID:" + value, {file(storage_server), file(recovery_server)}, {done("CORVID", component)},
                  {file(recovery_server, "HLT:LOGLEVEL=" + level + "\n")});
}

const std::vector<RequestCase> corvid = {
    row_of("SetsTheLevelOfTheStorageServer", "CORVID:zmwqf=3", {file(storage_server), file(recovery_server)},
           {done("CORVID", "zmwqf")}, {file(storage_server, "WQF:LOGLEVEL=3\n")}),
    row_of("DefaultsToLevelFiveForTheStorageServer", "CORVID:zmwqf", {file(storage_server, "A=1\n")},
           {done("CORVID", "zmwqf")}, {file(storage_server, "A=1\nWQF:LOGLEVEL=5\n")}),
    row_of("UncommentsALine", "CORVID:zmwqf=1", {file(storage_server, "#WQF:LOGLEVEL=5\n")}, {done("CORVID", "zmwqf")},
           {file(storage_server, "WQF:LOGLEVEL=1\n")}),
    recovery("SetsTheLevelOfTheRecoveryServer", "other=3", "3"),
    recovery("DefaultsToLevelFiveForTheRecoveryServer", "other", "5"),
    recovery("ComparesNamesExactly", "ZMWQF=3", "3"),
    recovery("TakesLongerNamesForTheRecoveryServer", "zmwqfx=3", "3"),
    recovery("TakesShorterNamesForTheRecoveryServer", "zmwq=3", "3"),
    recovery("TakesTheEmptyNameForTheRecoveryServer", "=3", "3"),
    row_of("ProcessesEachValue", "CORVID:other=1,zmwqf=2,,zmwqf", {file(storage_server), file(recovery_server, "A\n")},
           {done("CORVID", "other"), done("CORVID", "zmwqf"), done("CORVID", ""), done("CORVID", "zmwqf")},
           {file(storage_server, "WQF:LOGLEVEL=5\n"), file(recovery_server, "A\nHLT:LOGLEVEL=5\n")}),
};

INSTANTIATE_TEST_SUITE_P(Corvid, CloudAndAuthorization, testing::ValuesIn(corvid), name_of_row);

RequestCase cloud(const std::string& name, const std::string& value, const std::string& before,
                  const std::string& after) {
    return row_of(name, "CLOUD:" + value, {file(store_container, before)},
                  {done("CLOUD", value.substr(0, value.find('=')))}, {file(store_container, after)});
}

const std::vector<RequestCase> clouds = {
    cloud("DefaultsToLevelFive", "skyhold", "", "SHCT_LOG_LEVEL=5\n"),
    cloud("AcceptsAnyName", "x y=3", "A\n", "A\nSHCT_LOG_LEVEL=3\n"),
    cloud("WritesAnEmptyLevel", "skyhold=", "", "SHCT_LOG_LEVEL=\n"),
    cloud("WritesALevelUnchanged", "skyhold= a=b%s", "", "SHCT_LOG_LEVEL= a=b%s\n"),
    cloud("ReplacesEveryActiveLine", "skyhold=4", "SHCT_LOG_LEVEL=1\nA\nMY_SHCT_LOG_LEVEL=2\n",
          "SHCT_LOG_LEVEL=4\nA\nSHCT_LOG_LEVEL=4\n"),
    cloud("IgnoresOtherSeparators", "skyhold=4", "SHCT_LOG_LEVEL = 1\nshct_log_level=1\n",
          "SHCT_LOG_LEVEL = 1\nshct_log_level=1\nSHCT_LOG_LEVEL=4\n"),
    with_word("DISABLELOGGING",
              cloud("DisableSetsTheDefaultToo", "skyhold", "SHCT_LOG_LEVEL=1\n", "SHCT_LOG_LEVEL=5\n")),
    with_word("RESETLOGGING", cloud("ResetSetsTheDefaultToo", "skyhold", "SHCT_LOG_LEVEL=1\n", "SHCT_LOG_LEVEL=5\n")),
};

INSTANTIATE_TEST_SUITE_P(Cloud, CloudAndAuthorization, testing::ValuesIn(clouds), name_of_row);

RequestCase holkaz(const std::string& name, const std::string& value, const std::string& before,
                   const std::string& after) {
    return row_of(name, "HOLKAZ:" + value, {file(authorization, before)},
                  {done("HOLKAZ", value.substr(0, value.find('=')))}, {file(authorization, after)});
}

const std::vector<RequestCase> holkazs = {
    holkaz("WritesTheDefaultLevelInQuotationMarks", "az", "", "\"DebugLevel\"=\"6\"\n"),
    holkaz("WritesALevelOfThePeerUnchanged", "az=4", "", "\"DebugLevel\"=4\n"),
    holkaz("WritesALevelInQuotationMarksUnchanged", "az=\"4\"", "", "\"DebugLevel\"=\"4\"\n"),
    holkaz("ReplacesAnActiveLine", "az", "[Root]\n  \"DebugLevel\"=\"1\"\n\"X\"=\"1\"\n",
           "[Root]\n\"DebugLevel\"=\"6\"\n\"X\"=\"1\"\n"),
    holkaz("UncommentsALine", "az", "#\"DebugLevel\"=\"1\"\n", "\"DebugLevel\"=\"6\"\n"),
    holkaz("IgnoresAKeyWithoutQuotationMarks", "az", "DebugLevel=1\n", "DebugLevel=1\n\"DebugLevel\"=\"6\"\n"),
};

INSTANTIATE_TEST_SUITE_P(Holkaz, CloudAndAuthorization, testing::ValuesIn(holkazs), name_of_row);

// The status is the bitwise OR of the statuses of all values, so one failure is enough.
const std::vector<RequestCase> failures = {
    row_of("AMissingFileIsNotCreated", "CLOUD:skyhold", {}, {not_found("CLOUD", "skyhold", store_container)}, {}, 5803),
    row_of("TheAuthorizationFileIsMissing", "HOLKAZ:az", {}, {not_found("HOLKAZ", "az", authorization)}, {}, 5803),
    row_of("TheFirstFails", "CORVID:zmwqf=1,other=2", {file(recovery_server)},
           {not_found("CORVID", "zmwqf", storage_server), done("CORVID", "other")},
           {file(recovery_server, "HLT:LOGLEVEL=2\n")}, 5803),
    row_of("TheLastFails", "CORVID:zmwqf=1,other=2", {file(storage_server)},
           {done("CORVID", "zmwqf"), not_found("CORVID", "other", recovery_server)},
           {file(storage_server, "WQF:LOGLEVEL=1\n")}, 5803),
    row_of("AllFail", "CORVID:zmwqf=1,other=2", {},
           {not_found("CORVID", "zmwqf", storage_server), not_found("CORVID", "other", recovery_server)}, {}, 5803),
    row_of("TheCopyIsAFolder", "CLOUD:skyhold", {file(store_container), folder(store_container + ".new")},
           {failed("CLOUD", "skyhold",
                   "Could not open file " + store_container + ".new for writing E=21 (Is a directory)")},
           {}, 5803),
    row_of("TheFileIsAFolder", "CLOUD:a,b", {folder(store_container)},
           {failed("CLOUD", "a",
                   "Failed to rename " + store_container + ".new to " + store_container + " E=21 (Is a directory)"),
            failed("CLOUD", "b",
                   "Failed to rename " + store_container + ".new to " + store_container + " E=21 (Is a directory)")},
           {file(store_container + ".new", "SHCT_LOG_LEVEL=5\n")}, 5803),
};

INSTANTIATE_TEST_SUITE_P(Failure, CloudAndAuthorization, testing::ValuesIn(failures), name_of_row);

}  // namespace
