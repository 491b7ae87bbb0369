#include "platform/library/hosts_file.h"

#include <algorithm>
#include <string>

#include "platform/library/text_file.h"

namespace platform_library {

namespace {

// Removes the first word from the line and returns it, or an empty text when the line has no word.
std::string_view take_word(std::string_view& line) {
    constexpr std::string_view blanks = " \t\r\v\f";
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(blanks));
    line.remove_prefix(word.size());
    return word;
}

}  // namespace

bool any_in_hosts_file(const std::function<bool(std::string_view name, const Address& address)>& visit) {
    std::string text;
    if (read_text_file("/etc/hosts", text) != 0) {
        return false;
    }
    bool stopped = false;
    for_each_line(text, [&](std::string_view line) {
        line = line.substr(0, line.find('#'));
        const auto address = parse_address(std::string(take_word(line)));
        if (!address) {
            return;
        }
        for (std::string_view name = take_word(line); !name.empty() && !stopped; name = take_word(line)) {
            stopped = visit(name, *address);
        }
    });
    return stopped;
}

}  // namespace platform_library
