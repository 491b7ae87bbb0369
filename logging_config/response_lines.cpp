#include "logging_config/response_lines.h"

#include "platform/runtime.h"

void respond(int level, const char* tag, const std::string& line, Responses& responses) {
    logmsgf(level, tag, "%s", line.c_str());
    responses.push_back(line);
}
