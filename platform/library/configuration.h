// The main configuration, for the other sources of the library.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform_library {

struct HostConfiguration {
    std::vector<std::string> servers;  // the trusted hosts, as the file spells them
    int network_timeout = 300;         // seconds
};

// Returns what ZM_read_master_config read. Before that call, no host is trusted.
const HostConfiguration& host_configuration();

struct ConfigurationLine {
    std::string_view key;
    std::string_view value;
};

// Returns the key and value of a line "KEY = value", without the blanks around them. Returns nothing for any other
// line, such as a comment.
std::optional<ConfigurationLine> parse_configuration_line(std::string_view line);

// Returns whether the text is a letter followed by letters, digits or "_".
bool is_configuration_key(std::string_view text);

// Returns the key in upper case. Keys are compared in this form, because their case does not matter.
std::string fold_key(std::string_view key);

}  // namespace platform_library
