// The runtime library of the recording platform.
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "platform/runtime.h"
#include "tests/support/call_journal.h"
#include "tests/support/recorded_calls.h"
#include "tests/support/recording_platform.h"

using recording_platform::record_call;
using recording_platform::script;
using recording_platform::words;

int open_debug_log(const char* root, const char* program, const char* name, int mode, int* out) {
    record_call(words("open_debug_log", root, program, name, mode, *out));
    return script.debug_log_descriptor;
}

void logmsgf(int level, const char* tag, const char* format, ...) {
    const int error = errno;
    va_list arguments;
    va_start(arguments, format);
    va_list numbers;
    va_copy(numbers, arguments);
    const int length = vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(static_cast<std::size_t>(std::max(length, 0)) + 1, '\0');
    va_start(arguments, format);
    vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    text.pop_back();
    const std::string shown_tag = tag == nullptr ? "" : tag;
    std::vector<std::string> fields = {std::to_string(level), shown_tag, text, format};
    if (shown_tag.find('%') != std::string::npos) {
        fields.push_back(std::to_string(va_arg(numbers, int)));
        fields.push_back(std::to_string(va_arg(numbers, int)));
    }
    va_end(numbers);
    call_journal::append(call_journal::Kind::message, fields);
    errno = error;
}

const char* getECmsg(int status) {
    const auto found = script.status_texts.find(status);
    static std::string text;
    text = found == script.status_texts.end() ? "text of " + std::to_string(status) : found->second;
    return text.c_str();
}

short getDirCreationMode(const char* name) {
    record_call(words("getDirCreationMode", name));
    return script.directory_creation_mode;
}

int mklogdirpath(const char* path, int mode, int* error) {
    record_call(words("mklogdirpath", path, mode, *error));
    *error = script.log_directory_error;
    if (script.log_directory_error_number != 0) {
        errno = script.log_directory_error_number;
    }
    return script.log_directory_result;
}

std::string temporary_name(const std::string& directory, const std::string& prefix) {
    record_call(words("temporary_name", directory, prefix));
    return directory + "/" + prefix + script.temporary_suffix;
}
