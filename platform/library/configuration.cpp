#include "platform/library/configuration.h"

#include <fcntl.h>

#include <algorithm>

#include "platform/library/numbers.h"
#include "platform/library/statuses.h"
#include "platform/library/text_file.h"
#include "platform/main_configuration.h"
#include "platform/product_files.h"

namespace platform_library {

namespace {

constexpr int longest_network_timeout = 86400;

HostConfiguration host;
ConfigRecord master{};

// Accepts only ASCII letters, in every locale.
bool is_letter(char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

bool is_key_byte(char byte) {
    return is_letter(byte) || (byte >= '0' && byte <= '9') || byte == '_';
}

bool is_blank(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r';
}

std::string_view strip(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && is_blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// Compares the lengths first, because every request reads all keys and folding is slower.
bool is_key(std::string_view key, std::string_view folded) {
    return key.size() == folded.size() && fold_key(key) == folded;
}

int parse_network_timeout(std::string_view value) {
    const std::optional<std::int32_t> seconds = parse_int32(value);
    const bool in_range = seconds && *seconds >= 1 && *seconds <= longest_network_timeout;
    return in_range ? *seconds : HostConfiguration().network_timeout;
}

// Every SERVER line counts. Of any other key only the first line counts.
void read_configuration(std::string_view text) {
    host = {};
    master = {};
    bool verbose_seen = false;
    bool timeout_seen = false;
    for_each_line(text, [&](std::string_view line) {
        const std::optional<ConfigurationLine> entry = parse_configuration_line(line);
        if (!entry) {
            return;
        }
        if (is_key(entry->key, product_files::server_key)) {
            host.servers.emplace_back(entry->value);
        } else if (!verbose_seen && is_key(entry->key, "VERBOSE")) {
            verbose_seen = true;
            master.VERBOSE = parse_int32(entry->value).value_or(0);
        } else if (!timeout_seen && is_key(entry->key, product_files::network_timeout_key)) {
            timeout_seen = true;
            host.network_timeout = parse_network_timeout(entry->value);
        }
    });
}

}  // namespace

const HostConfiguration& host_configuration() {
    return host;
}

bool is_configuration_key(std::string_view text) {
    return !text.empty() && is_letter(text.front()) && std::all_of(text.begin(), text.end(), is_key_byte);
}

std::string fold_key(std::string_view key) {
    std::string folded(key);
    for (char& byte : folded) {
        if (byte >= 'a' && byte <= 'z') {
            byte = static_cast<char>(byte - 'a' + 'A');
        }
    }
    return folded;
}

std::optional<ConfigurationLine> parse_configuration_line(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view key = strip(line.substr(0, equals));
    if (!is_configuration_key(key)) {
        return std::nullopt;
    }
    return ConfigurationLine{key, strip(line.substr(equals + 1))};
}

}  // namespace platform_library

int ZM_read_master_config() {
    std::string text;
    if (platform_library::read_text_file(product_files::main_configuration, text) != 0) {
        return platform_library::status::configuration_not_read;
    }
    platform_library::read_configuration(text);
    return 0;
}

const ConfigRecord* get_master_config_ptr() {
    return &platform_library::master;
}
