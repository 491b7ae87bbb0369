#include "agent/string_utilities.h"

#include <algorithm>
#include <cctype>

std::string trim_spaces(std::string text) {
    constexpr const char* whitespace = " \t\r\n";
    const std::size_t first = text.find_first_not_of(whitespace);
    if (first == std::string::npos) {
        return text;
    }
    const std::size_t last = text.find_last_not_of(whitespace);
    return text.substr(first, last - first + 1);
}

std::string get_basename(std::string path) {
    const std::string trimmed = trim_spaces(path);
    if (!trimmed.empty() && trimmed.front() == '/') {
        return trimmed.substr(trimmed.rfind('/') + 1);
    }
    const std::size_t backslash = trimmed.rfind('\\');
    if (backslash != std::string::npos) {
        return trimmed.substr(backslash + 1);
    }
    return path;
}

void split_lhs_rhs(std::string text, std::string& lhs, std::string& rhs) {
    const std::size_t equals = text.find('=');
    if (equals != std::string::npos) {
        rhs = text.substr(equals + 1);
    }
    lhs = text.substr(0, equals);
}

std::string stringupper(const std::string& text) {
    std::string upper = text;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::toupper(byte)); });
    return upper;
}

void split_string(const std::string& text, char delimiter, std::vector<std::string>& pieces) {
    std::size_t start = 0;
    for (std::size_t end = text.find(delimiter); end != std::string::npos; end = text.find(delimiter, start)) {
        pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    pieces.push_back(text.substr(start));
}

bool valid_host_type(std::string text) {
    return text == "MASTER" || text == "MEDIA" || text == "CLIENT";
}
