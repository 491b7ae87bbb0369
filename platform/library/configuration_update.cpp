#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/library/configuration.h"
#include "platform/library/line_edits.h"
#include "platform/library/numbers.h"
#include "platform/library/safe_rewrite.h"
#include "platform/library/statuses.h"
#include "platform/library/text_file.h"
#include "platform/main_configuration.h"
#include "platform/product_files.h"

const int QRConfZMStandardServer = 1;

// The edits from a configuration text, in the order in which their keys first appeared.
struct ConfigSettings {
    std::vector<platform_library::LineEdit> edits;
    std::unordered_map<std::string, std::size_t> places;  // of folded keys in `edits`
};

namespace platform_library {

namespace {

bool is_control_character(unsigned char byte) {
    return byte < 32 || byte == 127;
}

bool is_acceptable_value(std::string_view folded_key, std::string_view value) {
    if (std::any_of(value.begin(), value.end(), is_control_character)) {
        return false;
    }
    const bool is_verbosity = folded_key == "VERBOSE" || folded_key.ends_with("_VERBOSE");
    return !is_verbosity || parse_int32(value).has_value();
}

// A later setting of a key replaces the earlier one and keeps its place.
void put(ConfigSettings& settings, const std::string& folded_key, LineEdit edit) {
    const auto [place, is_new] = settings.places.emplace(folded_key, settings.edits.size());
    if (is_new) {
        settings.edits.push_back(std::move(edit));
    } else {
        settings.edits[place->second] = std::move(edit);
    }
}

// Adds the edit for one line "KEY=value" or "KEY". Returns false when it rejects the line.
bool parse_setting(std::string_view line, ConfigSettings& settings) {
    const std::size_t equals = line.find('=');
    const std::string_view key = line.substr(0, equals);
    const std::string folded = fold_key(key);
    // A logging request must not change which hosts are trusted.
    if (!is_configuration_key(key) || folded == "SERVER") {
        return false;
    }
    if (equals == std::string_view::npos) {
        put(settings, folded, std::nullopt);
        return true;
    }
    const std::string_view value = line.substr(equals + 1);
    if (!is_acceptable_value(folded, value)) {
        return false;
    }
    put(settings, folded, std::string(key) + " = " + std::string(value));
    return true;
}

bool parse_settings(std::string_view text, ConfigSettings& settings) {
    bool accepted = true;
    for_each_line(text, [&](std::string_view line) { accepted = accepted && parse_setting(line, settings); });
    return accepted;
}

std::optional<std::string> apply_settings(const std::string& text, const ConfigSettings& settings) {
    return apply_line_edits(text, settings.edits, [&](std::string_view line) -> std::optional<std::size_t> {
        const std::optional<ConfigurationLine> entry = parse_configuration_line(line);
        if (!entry) {
            return std::nullopt;
        }
        const auto place = settings.places.find(fold_key(entry->key));
        return place == settings.places.end() ? std::nullopt : std::optional(place->second);
    });
}

}  // namespace

}  // namespace platform_library

int ParseConfigExA(char* text, ConfigRecord* record, ConfigRecord*, int) {
    auto settings = std::make_unique<ConfigSettings>();
    if (!platform_library::parse_settings(text, *settings)) {
        return platform_library::status::configuration_text_not_valid;
    }
    record->settings = settings.release();
    return 0;
}

int UpdateHostConfigExA(int selector, ConfigRecord* record, ConfigRecord*, int, int, int) {
    if (selector != QRConfZMStandardServer) {
        return platform_library::status::configuration_not_updated + EINVAL;
    }
    if (record->settings == nullptr) {
        return 0;
    }
    const int error = platform_library::rewrite_file(product_files::main_configuration, [&](const std::string& text) {
        return platform_library::apply_settings(text, *record->settings);
    });
    return error == 0 ? 0 : platform_library::status::configuration_not_updated + error;
}

void FreeConfig(ConfigRecord* record) {
    const std::unique_ptr<ConfigSettings> released(std::exchange(record->settings, nullptr));
}
