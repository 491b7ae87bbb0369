// Parses the line about one value of a logging request.
#pragma once

#include <optional>
#include <string_view>

#include "request_command/answer_line.h"

// Returns nothing for a line of another form, and for one whose fields cannot be separated without doubt.
std::optional<AnswerLine> parse_process(std::string_view line);
