// Rows for the tables of the unified logging categories.
#pragma once

#include <iosfwd>
#include <optional>

#include "tests/end_to_end/logging/logging_case.h"

namespace unified_logging {

inline const std::string store = "/usr/kumel/ktul/51216.conf";

// A request for one category, and the store file of its product.
struct StoreChange {
    std::string name;
    std::string argument;
    // The store file before the request; nothing if it is missing.
    std::optional<std::string> before = std::nullopt;
    // The store file afterwards; nothing if it is not rewritten.
    std::optional<std::string> after = std::nullopt;
    // The log lines about the defaults of the product.
    std::vector<LogLine> defaults = {};
    std::vector<Outcome> outcomes = {};
    int status = 0;
    // Whether the request locks a file that it does not rewrite.
    bool locked = false;
};

std::ostream& operator<<(std::ostream& out, const StoreChange& change);

[[nodiscard]] RequestCase row_of(const StoreChange& change);

// A log line of the handler.
[[nodiscard]] LogLine said(int level, const std::string& text);

[[nodiscard]] std::vector<LogLine> defaults(int debug, int diagnostic);

// The log lines about the levels of an originator before the change, followed by more lines.
[[nodiscard]] std::vector<LogLine> current(const std::string& product_and_originator, int debug, int diagnostic,
                                           const std::vector<LogLine>& more = {});

}  // namespace unified_logging
