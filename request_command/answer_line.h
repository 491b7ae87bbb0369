// The forms of the lines that an agent answers with, and their fields by name.
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

// The type is "process", "package", "space" or "cleanup" for the agent's own lines, else "output". The texts are
// parts of the line that was parsed.
struct AnswerLine {
    std::string_view type;
    std::vector<AnswerField> fields;

    bool operator==(const AnswerLine&) const = default;
};

// Parses one whole line, given without its newline: a line that has lost its newline has lost more than that, and is
// output. A form is only taken for one when all of its fields can be told apart without doubt, whatever the request
// and the host's file names have put into their values. A line of any other form is output, with the line itself as
// the field "text".
AnswerLine parse_answer_line(std::string_view line);

// Returns the line as output, whatever its form.
AnswerLine output_line(std::string_view line);

// Tells whether the lines of the answer to a request can be believed to be what they look like. Those of a tool
// cannot: it prints what it likes. Neither can those that show an argument with a newline in it, which makes two
// lines of one.
bool answers_in_forms(const std::vector<std::string>& request);
