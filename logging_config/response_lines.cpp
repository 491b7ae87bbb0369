#include "logging_config/response_lines.h"

#include "agent/answer_forms.h"
#include "agent/bounded_text.h"
#include "platform/runtime.h"
#include "platform/status_codes.h"

namespace {

std::string error_text(const SystemError& error) {
    return std::to_string(error.number) + " (" + error.text() + ")";
}

std::string octal(unsigned number) {
    constexpr std::size_t longest = 16;
    return bounded_print(longest, "%o", number);
}

}  // namespace

std::string describe_edit(int result, const std::string& text, const std::string& component) {
    if (result != status::success) {
        return text;
    }
    return text.empty() ? "Set up " + component + " debug logging" : "INF: " + text;
}

std::string compose(const ProcessLine& line, std::size_t size) {
    std::string text = process_key::label + line.label;
    text += process_key::status + std::to_string(line.status);
    text += process_key::message + line.message;
    if (line.directory) {
        text += process_key::directory + *line.directory;
    }
    if (line.error) {
        text += process_key::error + error_text(*line.error);
    }
    if (line.permission) {
        text += process_key::permission + octal(*line.permission);
    }
    if (line.unloaded) {
        text += process_key::originator + std::to_string(line.unloaded->originator);
        text += process_key::product + std::to_string(line.unloaded->product);
    }
    if (line.unset) {
        text += process_key::result + std::to_string(line.unset->result);
        text += process_key::level + std::to_string(line.unset->level);
    }
    if (line.value) {
        text += process_key::value + *line.value + ")";
    }
    return bounded_copy(size, text + "\n");
}

std::string process_label(const std::string& category, const std::string& process) {
    return category + ":" + process;
}

void respond(int level, const char* tag, const std::string& line, Responses& responses) {
    logmsgf(level, tag, "%s", line.c_str());
    responses.push_back(line);
}
