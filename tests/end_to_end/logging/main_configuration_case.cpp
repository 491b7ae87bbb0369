#include "tests/end_to_end/logging/main_configuration_case.h"

#include "tests/support/product_tree.h"

namespace main_configuration_case {

namespace {

const std::string trust = "SERVER = localhost\n";

LoggingCase row_of(const Change& change, const std::string& outcome, int level) {
    LoggingCase row = {.name = change.name,
                       .request = {"ENABLELOGGING", "QRCONF:" + change.values},
                       .before = {file(main_configuration, trust + change.before)},
                       .log = {said(2, "current global VERBOSE=" + std::to_string(change.global_verbosity))}};
    row.log.insert(row.log.end(), change.log.begin(), change.log.end());
    for (const std::string& name : change.names) {
        row.answer.push_back("PROCESS=QRCONF:" + name + outcome);
        row.log.push_back(said(level, row.answer.back()));
    }
    return row;
}

}  // namespace

LoggingCase applied(const Change& change) {
    LoggingCase row = row_of(change, " STATUS=0 MSG=Set up\n", 4);
    row.after.push_back(lock_of(main_configuration));
    if (change.after != change.before) {
        row.after.push_back(file(main_configuration, trust + change.after));
    }
    return row;
}

LoggingCase refused(const Change& change) {
    LoggingCase row = row_of(change,
                             " STATUS=1 MSG=invalid qr.conf input (RV=5902 a key or value is not one that qr.conf may "
                             "be given)\n",
                             16);
    row.status = 5902;
    return row;
}

LogLine said(int level, const std::string& text) {
    return logged(level, "process_qrconf", text);
}

}  // namespace main_configuration_case
