#include "tests/end_to_end/logging/unified_logging_case.h"

#include <ostream>

namespace unified_logging {

namespace {

using log_level::detail;

constexpr const char* tag = "process_ktul_loglevel";

std::string store_of(const std::string& argument) {
    if (argument.starts_with("QPKTUL")) {
        return "/usr/kumel/ktul/58330.conf";
    }
    return argument.starts_with("SEARCHKTUL") ? "/usr/kumel/ktul/60385.conf" : store;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const StoreChange& change) {
    return out << change.name;
}

RequestCase row_of(const StoreChange& change) {
    const std::string path = store_of(change.argument);
    RequestCase row = {.name = change.name,
                       .request = {"ENABLELOGGING", change.argument},
                       .status = change.status,
                       .log = change.defaults};
    if (change.before) {
        row.before.push_back(file(path, *change.before));
    }
    if (change.after || change.locked) {
        row.after.push_back(lock_of(path));
    }
    if (change.after) {
        row.after.push_back(file(path, *change.after));
    }
    add(row, tag, change.outcomes);
    return row;
}

LogLine said(int level, const std::string& text) {
    return logged(level, tag, text);
}

std::vector<LogLine> defaults(int debug, int diagnostic) {
    return {said(detail, "Default DbgLvl=" + std::to_string(debug) + " DiagLvl=" + std::to_string(diagnostic))};
}

std::vector<LogLine> current(const std::string& product_and_originator, int debug, int diagnostic,
                             const std::vector<LogLine>& more) {
    const std::string of = "Current setting " + product_and_originator;
    std::vector<LogLine> lines = {said(detail, of + " DbgLvl=" + std::to_string(debug)),
                                  said(detail, of + " DiagLvl=" + std::to_string(diagnostic))};
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

}  // namespace unified_logging
