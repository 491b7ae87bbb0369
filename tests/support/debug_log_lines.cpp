#include "tests/support/debug_log_lines.h"

#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

std::vector<LogLine> read_debug_log() {
    const std::string folder = logs_folder + "/zmlogadmagent";
    std::vector<LogLine> lines;
    if (!exists(folder)) {
        return lines;
    }
    for (const std::string& name : names_in(folder)) {
        const std::vector<LogLine> more = parse_debug_log(read_file(folder + "/" + name));
        lines.insert(lines.end(), more.begin(), more.end());
    }
    return lines;
}

bool matches_pattern(const LogLine& pattern, const LogLine& line) {
    return pattern.level == line.level && pattern.tag == line.tag && matches_pattern(pattern.text, line.text);
}
