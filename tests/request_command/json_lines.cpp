#include "tests/request_command/json_lines.h"

#include <string>

JsonLines json_lines(std::string_view text) {
    JsonLines lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        if (end == std::string_view::npos || !line.starts_with("{\"type\":\"") || !line.ends_with('}')) {
            throw std::runtime_error("no object of a line: " + std::string(line));
        }
        lines.push_back(Json::parse(line));
        text.remove_prefix(end + 1);
    }
    return lines;
}
