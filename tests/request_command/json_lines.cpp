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

JsonLines answer_lines(std::string_view text) {
    JsonLines lines = json_lines(text);
    if (lines.empty() || lines.front().at("type") != "request") {
        throw std::runtime_error("no request object in front: " + std::string(text));
    }
    lines.erase(lines.begin());
    if (!lines.empty() && lines.back().at("type") == "status") {
        if (!lines.back().at("elapsed_ms").is_number_unsigned()) {
            throw std::runtime_error("no time that has passed: " + lines.back().dump());
        }
        lines.back().erase("elapsed_ms");
    }
    return lines;
}
