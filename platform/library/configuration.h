// The main configuration as the library's own parts see it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform_library {

struct HostConfiguration {
    std::vector<std::string> servers;  // the hosts that are trusted, as they are written
    int network_timeout = 300;         // seconds
};

// What ZM_read_master_config read; before that, nobody is trusted.
const HostConfiguration& host_configuration();

struct ConfigurationLine {
    std::string_view key;
    std::string_view value;
};

// Returns the key and value of a line "KEY = value", without the blanks around them, or nothing for a line of any
// other shape, remarks among them.
std::optional<ConfigurationLine> parse_configuration_line(std::string_view line);

// Tells whether the text is a letter with letters, digits and "_" behind it.
bool is_configuration_key(std::string_view text);

// Keys match without regard to case: returns the form that they are compared in.
std::string fold_key(std::string_view key);

}  // namespace platform_library
