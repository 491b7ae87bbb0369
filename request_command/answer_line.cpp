#include "request_command/answer_line.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "agent/answer_forms.h"
#include "request_command/answer_fields.h"
#include "request_command/known_words.h"
#include "request_command/process_line.h"

namespace {

// Returns the rest of a line that begins with the key.
std::optional<std::string_view> text_after(std::string_view key, std::string_view line) {
    return line.starts_with(key) ? std::optional(line.substr(key.size())) : std::nullopt;
}

std::optional<AnswerLine> parse_package(std::string_view line) {
    const std::optional<std::string_view> path = text_after(package_key, line);
    if (!path) {
        return std::nullopt;
    }
    return AnswerLine{"package", {{"path", *path}}};
}

std::optional<AnswerLine> parse_space(std::string_view line) {
    const std::string_view unit = space_key::unit;
    const std::string unit_and_total = space_key::unit + std::string(space_key::total);
    if (!line.starts_with(space_key::directory) || !line.ends_with(unit)) {
        return std::nullopt;
    }
    line.remove_suffix(unit.size());
    const std::array keys = {space_key::directory, space_key::free, unit_and_total.c_str()};
    const auto texts = split_at_keys(line, keys);
    if (!texts || !(*texts)[1] || !(*texts)[2]) {
        return std::nullopt;
    }
    const auto free = number_of<std::uint64_t>(*(*texts)[1]);
    const auto total = number_of<std::uint64_t>(*(*texts)[2]);
    if (!free || !total) {
        return std::nullopt;
    }
    return AnswerLine{"space", {{"directory", *(*texts)[0]}, {"free_mib", *free}, {"total_mib", *total}}};
}

std::optional<AnswerLine> parse_failed_cleanup(std::string_view line) {
    const std::string_view separator = cleanup_key::error;
    const std::size_t found = line.find(separator);
    if (found == absent || line.find(separator, found + 1) != absent) {
        return std::nullopt;
    }
    return AnswerLine{"cleanup",
                      {{"result", "failed"},
                       {"directory", line.substr(0, found)},
                       {"error_text", line.substr(found + separator.size())}}};
}

std::optional<AnswerLine> parse_cleanup(std::string_view line) {
    if (const auto removed = text_after(cleanup_key::removed, line)) {
        return AnswerLine{"cleanup", {{"result", "removed"}, {"directory", *removed}}};
    }
    if (const auto failed = text_after(cleanup_key::failed, line)) {
        return parse_failed_cleanup(*failed);
    }
    if (const auto refused = text_after(cleanup_key::refused, line)) {
        return AnswerLine{"cleanup", {{"result", "refused"}, {"directory", *refused}}};
    }
    return std::nullopt;
}

}  // namespace

AnswerLine parse_answer_line(std::string_view line) {
    for (const auto parse : {parse_process, parse_package, parse_space, parse_cleanup}) {
        if (std::optional<AnswerLine> parsed = parse(line)) {
            return std::move(*parsed);
        }
    }
    return output_line(line);
}

AnswerLine output_line(std::string_view line) {
    return AnswerLine{"output", {{"text", line}}};
}

bool answers_in_forms(const std::vector<std::string>& request) {
    const auto has_newline = [](const std::string& text) { return text.find('\n') != std::string::npos; };
    return !is_tool_word(request.front()) && std::none_of(request.begin(), request.end(), has_newline);
}
