#include "tests/request_command/json_lines.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <system_error>

#include "platform/posix.h"
#include "tests/support/private_root.h"

namespace {

// Writes once, because other tests append to the file too.
void keep_for_validation(std::string_view text) {
    const char* const path = getenv("ZMLA_JSON_OBJECTS");
    if (path == nullptr) {
        return;
    }
    const Descriptor file(open(inside_path(path).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    if (!file.valid() || write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

// Removes the first line from the text and returns it with its newline, if it has one.
std::string_view take_line(std::string_view& text) {
    const std::string_view line = text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
    text.remove_prefix(line.size());
    return line;
}

bool is_object(std::string_view line) {
    return line.starts_with("{\"type\":\"") && line.ends_with("}\n");
}

}  // namespace

void keep_objects(std::string_view text) {
    std::string objects;
    while (!text.empty()) {
        const std::string_view line = take_line(text);
        objects += is_object(line) ? line : "";
    }
    if (!objects.empty()) {
        keep_for_validation(objects);
    }
}

JsonLines json_lines(std::string_view text) {
    keep_objects(text);
    JsonLines lines;
    while (!text.empty()) {
        const std::string_view line = take_line(text);
        if (!is_object(line)) {
            throw std::runtime_error("not an object: " + std::string(line));
        }
        lines.push_back(Json::parse(line));
    }
    return lines;
}

JsonLines answer_lines(std::string_view text) {
    JsonLines lines = json_lines(text);
    if (lines.empty() || lines.front().at("type") != "request") {
        throw std::runtime_error("no request object first: " + std::string(text));
    }
    lines.erase(lines.begin());
    if (!lines.empty() && lines.back().at("type") == "status") {
        if (!lines.back().at("elapsed_ms").is_number_unsigned()) {
            throw std::runtime_error("no elapsed time: " + lines.back().dump());
        }
        lines.back().erase("elapsed_ms");
    }
    return lines;
}
