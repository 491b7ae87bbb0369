// What the tables of the unified logging categories share.
#pragma once

#include <optional>

#include "tests/end_to_end/logging/logging_case.h"

namespace unified_logging {

inline const std::string store = "/usr/kumel/ktul/51216.conf";

// A request for one category and what becomes of the store file of its product.
struct StoreChange {
    std::string name;
    std::string argument;
    // The store file; none when there is no such file.
    std::optional<std::string> before = std::nullopt;
    // The store file afterwards; none when it is not written anew.
    std::optional<std::string> after = std::nullopt;
    // What the log tells of the product's defaults.
    std::vector<LogLine> defaults = {};
    std::vector<Outcome> outcomes = {};
    int status = 0;
    // Whether a file that is not written anew was locked, to see whether anything changes.
    bool locked = false;
};

[[nodiscard]] LoggingCase row_of(const StoreChange& change);

// A message of the handler.
[[nodiscard]] LogLine said(int level, const std::string& text);

[[nodiscard]] std::vector<LogLine> defaults(int debug, int diagnostic);

// The levels of an originator before the change, and more that is said.
[[nodiscard]] std::vector<LogLine> current(const std::string& product_and_originator, int debug, int diagnostic,
                                           const std::vector<LogLine>& more = {});

}  // namespace unified_logging
