#include "tests/end_to_end/logging/main_configuration_case.h"

#include "tests/support/product_tree.h"

namespace main_configuration_case {

namespace {

using log_level::detail;
using log_level::error;
using log_level::information;

const std::string trust = "SERVER = localhost\n";

RequestCase row_of(const Change& change, const std::string& outcome, int level) {
    RequestCase row = {.name = change.name,
                       .request = {"ENABLELOGGING", "QRCONF:" + change.values},
                       .before = {file(main_configuration, trust + change.before)},
                       .log = {said(detail, "current global VERBOSE=" + std::to_string(change.global_verbosity))}};
    row.log.insert(row.log.end(), change.log.begin(), change.log.end());
    for (const std::string& name : change.names) {
        row.answer += "PROCESS=QRCONF:" + name + outcome;
        row.log.push_back(said(level, row.answer.lines().back()));
    }
    return row;
}

}  // namespace

RequestCase applied(const Change& change) {
    RequestCase row = row_of(change, " STATUS=0 MSG=Set up\n", information);
    row.after.push_back(lock_of(main_configuration));
    if (change.after != change.before) {
        row.after.push_back(file(main_configuration, trust + change.after));
    }
    return row;
}

RequestCase rejected(const Change& change) {
    RequestCase row = row_of(change,
                             " STATUS=1 MSG=invalid qr.conf input (RV=5902 a key or value is not one that qr.conf may "
                             "be given)\n",
                             error);
    row.status = 5902;
    return row;
}

LogLine said(int level, const std::string& text) {
    return logged(level, "process_qrconf", text);
}

}  // namespace main_configuration_case
