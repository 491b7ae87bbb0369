// Parses the response lines of an agent into named fields.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

using FieldValue = std::variant<std::string_view, std::int64_t, std::uint64_t>;

struct AnswerField {
    std::string_view name;
    FieldValue value;

    bool operator==(const AnswerField&) const = default;
};

// The type is "process", "package", "space" or "cleanup" for the agent's own lines, else "output". The texts point into
// the line that was parsed.
struct AnswerLine {
    std::string_view type;
    std::vector<AnswerField> fields;

    bool operator==(const AnswerLine&) const = default;
};

// Parses one whole line, given without its newline. Returns it as output, with the line as the field "text", unless its
// fields can be separated with certainty: the values of a request and the names of files may contain the keys. A line
// that came without a newline was cut; callers pass it to output_line instead.
AnswerLine parse_answer_line(std::string_view line);

// Returns the line as output, whatever its form.
AnswerLine output_line(std::string_view line);

// Returns whether the lines of the answer can be parsed by their form. They cannot when a tool prints them, because it
// can print anything, nor when an argument contains a newline, because the line that repeats it becomes two.
bool answers_in_forms(const std::vector<std::string>& request);
