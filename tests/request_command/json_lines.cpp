#include "tests/request_command/json_lines.h"

#include <fcntl.h>

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

}  // namespace

JsonLines json_lines(std::string_view text) {
    keep_for_validation(text);
    JsonLines lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        if (end == std::string_view::npos || !line.starts_with("{\"type\":\"") || !line.ends_with('}')) {
            throw std::runtime_error("not an object: " + std::string(line));
        }
        lines.push_back(Json::parse(line));
        text.remove_prefix(end + 1);
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
