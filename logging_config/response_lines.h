// The response lines of the category handlers.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/system_error.h"

using Responses = std::vector<std::string>;

// The originator and the product of a configuration that could not be loaded.
struct UnloadedConfiguration {
    int originator;
    int product;
};

// What the configuration library returned for a level that could not be set.
struct UnsetLevel {
    int result;
    int level;
};

// The fields of a response line, as agent/answer_forms.h lists them. Only fields that are set are in the line.
struct ProcessLine {
    std::string label;
    int status = 0;
    std::string message = {};
    std::optional<std::string> directory = {};
    std::optional<SystemError> error = {};
    std::optional<unsigned> permission = {};
    std::optional<UnloadedConfiguration> unloaded = {};
    std::optional<UnsetLevel> unset = {};
    std::optional<std::string> value = {};
};

// Returns the label of one process of a category.
std::string process_label(const std::string& category, const std::string& process);

// Returns the message about an edit that sets the logging of a component. It contains `text` if the edit failed or
// wrote a notice there, else it reports success.
std::string describe_edit(int result, const std::string& text, const std::string& component);

// Composes the line, with its newline, and cuts it to `size` - 1 bytes. Each category has its own size.
std::string compose(const ProcessLine& line, std::size_t size);

// Logs a line and appends it to the responses.
void respond(int level, const char* tag, const std::string& line, Responses& responses);
