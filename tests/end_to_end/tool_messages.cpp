#include "tests/end_to_end/tool_messages.h"

#include <cerrno>
#include <cstring>

using log_level::detail;
using log_level::error;
using log_level::information;

std::vector<LogLine> messages_of_run(const std::string& word, const std::string& tool, ToolEnd end) {
    constexpr const char* tag = "execute_cmd_send_output";
    std::vector<LogLine> lines = {
        {information, "getcommandpath", "full cmd path N=" + word + " P=" + tool},
        {information, tag, "child process started C=" + tool + " PID=<digits>"},
    };
    if (end.signal != 0) {
        lines.push_back(
            {error, tag, "child process terminated w/ signal SIG=" + std::to_string(end.signal) + " C=" + tool});
    }
    lines.push_back({information, tag, "child process exited CEC=" + std::to_string(end.code) + " C=" + tool});
    lines.push_back({detail, tag, std::string("recv return value=-1 ERRNO=11 (") + strerror(EAGAIN) + ")"});
    return lines;
}

std::vector<LogLine> operator+(std::vector<LogLine> lines, const std::vector<LogLine>& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}
