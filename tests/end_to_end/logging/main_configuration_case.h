// Rows for the tables of the category QRCONF.
#pragma once

#include "tests/end_to_end/logging/logging_case.h"

namespace main_configuration_case {

// A request for QRCONF, and the lines of qr.conf after the one that lists this host.
struct Change {
    std::string name;
    // The values of the category, without "QRCONF:".
    std::string values;
    std::string before = {};
    // The lines afterwards. If they equal the lines before, the file is not rewritten.
    std::string after = {};
    // The names in the response lines, one for each value.
    std::vector<std::string> names = {};
    // The log lines for the values.
    std::vector<LogLine> log = {};
    int global_verbosity = 0;
};

// The library makes the change.
[[nodiscard]] RequestCase applied(const Change& change);

// The library rejects the text. Every response line reports it, and nothing changes.
[[nodiscard]] RequestCase rejected(const Change& change);

[[nodiscard]] LogLine said(int level, const std::string& text);

}  // namespace main_configuration_case
