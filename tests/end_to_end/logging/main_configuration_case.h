// What the tables of the category QRCONF share.
#pragma once

#include "tests/end_to_end/logging/logging_case.h"

namespace main_configuration_case {

// A request for QRCONF and what becomes of the lines of qr.conf behind the one that trusts this host.
struct Change {
    std::string name;
    // The values of the category, without "QRCONF:".
    std::string values;
    std::string before = {};
    // The lines afterwards; equal to those before when the file is not written anew.
    std::string after = {};
    // The names in the response lines, one for each value.
    std::vector<std::string> names = {};
    // What is logged for the values.
    std::vector<LogLine> log = {};
    int global_verbosity = 0;
};

// The change is made.
[[nodiscard]] LoggingCase applied(const Change& change);

// The library refuses the text: every line tells it, and nothing is changed.
[[nodiscard]] LoggingCase refused(const Change& change);

[[nodiscard]] LogLine said(int level, const std::string& text);

}  // namespace main_configuration_case
