#include "state_command/settings_in_force.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "logging_config/settings.h"
#include "logging_config/text_lines.h"
#include "platform/library/configuration.h"
#include "platform/library/numbers.h"
#include "state_command/changed_files.h"
#include "state_command/file_state.h"
#include "state_command/host_log_directories.h"
#include "state_command/store_entry.h"

namespace {

using Settings = std::vector<Setting>;

// Names that only label the response line: any other name in a request would set the same setting.
namespace label {
constexpr const char* component = "spoold";
constexpr const char* recovery_server = "hlt";
constexpr const char* store_container = "skyhold";
constexpr const char* authorization = "az";
}  // namespace label

// The agent rejects longer arguments.
constexpr std::size_t longest_argument = 2047;

// In a request a comma ends a value, and a zero byte ends the argument.
bool fits_request(std::string_view text) {
    return text.find_first_of(std::string_view(",\0", 2)) == std::string_view::npos;
}

// Returns a setting that a request can set to any value.
Setting settable(std::string category, std::string name, std::string value, std::string file) {
    Setting setting{std::move(category), std::move(name), std::move(value), std::move(file)};
    std::string request = setting.category + ":" + setting.name + "=" + *setting.value;
    if (request.size() <= longest_argument && fits_request(request)) {
        setting.request = std::move(request);
    }
    return setting;
}

Setting not_set(std::string category, std::string name, std::string file) {
    return {std::move(category), std::move(name), std::nullopt, std::move(file)};
}

std::string_view without_line_end(std::string_view line) {
    return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

// Returns the values of the lines that the key-value editor treats as the active setting, each value once. These lines
// contain the key and the separator anywhere, and no "#".
std::vector<std::string> active_values(std::string_view text, const setting::KeyValue& place) {
    const std::string match = std::string(place.key) + place.separator;
    std::vector<std::string> values;
    for (const std::string_view line : split_lines(text)) {
        const std::size_t at = line.find(match);
        if (at == std::string_view::npos || contains(line, "#")) {
            continue;
        }
        std::string value(without_line_end(line.substr(at + match.size())));
        if (std::find(values.begin(), values.end(), value) == values.end()) {
            values.push_back(std::move(value));
        }
    }
    return values;
}

// Whether a request can set the key by itself.
enum class Sets { by_request, beside_another };

void add_key_value(Settings& settings, const char* category, const char* name, const setting::KeyValue& place,
                   Sets sets, Problems& problems) {
    const std::optional<std::string> text = read_text(place.file, problems);
    if (!text) {
        return;
    }
    const std::vector<std::string> values = active_values(*text, place);
    for (const std::string& value : values) {
        settings.push_back(sets == Sets::by_request ? settable(category, name, value, place.file)
                                                    : Setting{category, name, value, place.file});
    }
    if (values.empty()) {
        settings.push_back(not_set(category, name, place.file));
    }
}

Setting setting_of(const char* category, const StoreEntry& entry, const std::string& file) {
    const std::string originator(entry.originator);
    if (entry.kind != debug_level) {
        // A request sets the diagnostic level only together with the debug level, and only to 6.
        return {category, originator + "." + std::string(entry.kind), std::string(entry.value), file};
    }
    Setting setting = settable(category, originator, std::string(entry.value), file);
    if (entry.value.size() != 1 || entry.value < "0" || entry.value > "6") {
        setting.request.clear();
    }
    return setting;
}

// The first entry of each kind is active. The diagnostic levels come first. A request reads their names as originators
// and sets those debug levels; a user who sends all lines back then still ends with the right debug levels.
void add_store(Settings& settings, const char* category, int product, Problems& problems) {
    const std::string file = product_files::logging_store(product);
    const std::optional<std::string> text = read_text(file, problems);
    if (!text) {
        return;
    }
    std::set<std::pair<std::string_view, std::string_view>> seen;
    Settings debug_levels;
    for (const std::string_view line : split_lines(*text)) {
        const std::optional<StoreEntry> entry = parse_store_line(line);
        if (entry && seen.emplace(entry->originator, entry->kind).second) {
            Settings& levels = entry->kind == debug_level ? debug_levels : settings;
            levels.push_back(setting_of(category, *entry, file));
        }
    }
    settings.insert(settings.end(), debug_levels.begin(), debug_levels.end());
    const std::string defaults = std::to_string(ktul::default_originator);
    if (seen.count({defaults, debug_level}) == 0) {
        settings.push_back(not_set(category, defaults, file));
    }
}

// A value of ZMLOGDIR can have a mode, which the request ignores. A value of MMLOGDIR is the whole name.
void add_log_directories(Settings& settings, const LogRoot& root, Problems& problems) {
    const bool takes_mode = std::string_view(root.category) == category::zmlogdir;
    for (const LogDirectory& directory : list_log_directories(root, problems)) {
        const std::string name = directory.path.substr(std::string_view(root.path).size() + 1);
        std::string mode = mode_text(directory.mode);
        mode.erase(0, mode.starts_with('0') ? 1 : 0);
        Setting setting = settable(root.category, name, mode, directory.path);
        if (takes_mode && contains(name, "=")) {
            setting.request.clear();
        } else if (!takes_mode && !setting.request.empty()) {
            setting.request = setting.category + ":" + name;
        }
        settings.push_back(std::move(setting));
    }
}

// The first line of a key is active. The case of a key's letters does not matter.
void add_main_configuration(Settings& settings, Problems& problems) {
    const std::string file = product_files::main_configuration;
    const std::optional<std::string> text = read_text(file, problems);
    if (!text) {
        return;
    }
    std::set<std::string> seen;
    for (const std::string_view line : split_lines(*text)) {
        const auto entry = platform_library::parse_configuration_line(line);
        if (!entry) {
            continue;
        }
        const std::string key = platform_library::fold_key(entry->key);
        const bool is_verbosity = key == main_key::verbose || key.ends_with(main_key::verbose_suffix);
        if (is_verbosity && seen.insert(key).second) {
            Setting setting = settable(category::qrconf, std::string(entry->key), std::string(entry->value), file);
            // A request rejects values that are not numbers, and -1 resets the verbosity.
            const auto level = platform_library::parse_int32(entry->value);
            if (!level || *level == -1) {
                setting.request.clear();
            }
            settings.push_back(std::move(setting));
        }
    }
    const auto add_missing = [&](const std::string& key) {
        if (seen.count(key) == 0) {
            settings.push_back(not_set(category::qrconf, key, file));
        }
    };
    add_missing(main_key::verbose);
    std::for_each(main_key::structure_members.begin(), main_key::structure_members.end(), add_missing);
}

// A request adds a suffix to the value. So no request can set a value without the suffix.
void add_component(Settings& settings, const char* name, const std::string& file, Problems& problems) {
    const setting::KeyValue place = {file.c_str(), deduplication::key, deduplication::separator};
    Settings found;
    add_key_value(found, category::rk, name, place, Sets::by_request, problems);
    const std::string_view suffix = deduplication::value_suffix;
    for (Setting& setting : found) {
        if (setting.value && setting.value->ends_with(suffix)) {
            const std::string value = setting.value->substr(0, setting.value->size() - suffix.size());
            setting = settable(setting.category, setting.name, value, file);
        } else {
            setting.request.clear();
        }
        settings.push_back(std::move(setting));
    }
}

void add_components(Settings& settings, Problems& problems) {
    add_component(settings, deduplication::fixed_component, deduplication::fixed_component_file, problems);
    if (const std::optional<std::string> file = registered_file(problems)) {
        add_component(settings, label::component, *file, problems);
    }
}

// Every request sets the level, so the level comes last.
void add_plugin(Settings& settings, Problems& problems) {
    add_key_value(settings, category::rkplugin, setting::plugin_log.key, setting::plugin_log, Sets::beside_another,
                  problems);
    add_key_value(settings, category::rkplugin, setting::plugin_name, setting::plugin_level, Sets::by_request,
                  problems);
}

// The broker's tool keeps the level and does not report it.
void add_connection_broker(Settings& settings, Problems&) {
    Setting setting = not_set(category::kob, connection_broker::name, connection_broker::tool);
    setting.is_known = false;
    settings.push_back(std::move(setting));
}

void add_cloud_servers(Settings& settings, Problems& problems) {
    add_key_value(settings, category::corvid, setting::storage_server_name, setting::storage_server, Sets::by_request,
                  problems);
    add_key_value(settings, category::corvid, label::recovery_server, setting::recovery_server, Sets::by_request,
                  problems);
}

void add_store_container(Settings& settings, Problems& problems) {
    add_key_value(settings, category::cloud, label::store_container, setting::store_container, Sets::by_request,
                  problems);
}

void add_console(Settings& settings, Problems& problems) {
    add_key_value(settings, category::javagui, setting::console_commands.key, setting::console_commands,
                  Sets::beside_another, problems);
    add_key_value(settings, category::javagui, setting::console_mask.key, setting::console_mask, Sets::by_request,
                  problems);
}

void add_authorization(Settings& settings, Problems& problems) {
    add_key_value(settings, category::holkaz, label::authorization, setting::authorization, Sets::by_request, problems);
}

// The volume manager looks for a line that is exactly the keyword.
void add_volume_manager(Settings& settings, Problems& problems) {
    const setting::KeyValue& place = setting::volume_manager;
    const std::optional<std::string> text = read_text(place.file, problems);
    if (!text) {
        return;
    }
    const std::vector<std::string_view> lines = split_lines(*text);
    const bool is_on = std::any_of(lines.begin(), lines.end(),
                                   [&](std::string_view line) { return without_line_end(line) == place.key; });
    settings.push_back(is_on ? settable(category::vmconf, place.key, "on", place.file)
                             : not_set(category::vmconf, place.key, place.file));
}

struct Category {
    const char* name;
    void (*add_settings)(Settings& settings, Problems& problems);
};

// In the order of category::all.
constexpr std::array categories = {
    Category{category::zmktul,
             [](Settings& settings, Problems& problems) {
                 add_store(settings, category::zmktul, ktul::zmktul_product, problems);
             }},
    Category{category::qpktul,
             [](Settings& settings, Problems& problems) {
                 add_store(settings, category::qpktul, ktul::qpktul_product, problems);
             }},
    Category{category::searchktul,
             [](Settings& settings, Problems& problems) {
                 add_store(settings, category::searchktul, ktul::searchktul_product, problems);
             }},
    Category{category::zmlogdir,
             [](Settings& settings, Problems& problems) { add_log_directories(settings, log_roots[0], problems); }},
    Category{category::mmlogdir,
             [](Settings& settings, Problems& problems) { add_log_directories(settings, log_roots[1], problems); }},
    Category{category::qrconf, add_main_configuration},
    Category{category::rk, add_components},
    Category{category::rkplugin, add_plugin},
    Category{category::kob, add_connection_broker},
    Category{category::corvid, add_cloud_servers},
    Category{category::cloud, add_store_container},
    Category{category::javagui, add_console},
    Category{category::holkaz, add_authorization},
    Category{category::vmconf, add_volume_manager},
};
static_assert(categories.size() == category::all.size());

}  // namespace

bool is_category(std::string_view name) {
    return std::any_of(categories.begin(), categories.end(), [&](const Category& row) { return name == row.name; });
}

std::vector<Setting> read_settings(const std::vector<std::string>& wanted, Problems& problems) {
    Settings settings;
    for (const Category& row : categories) {
        if (wanted.empty() || std::find(wanted.begin(), wanted.end(), row.name) != wanted.end()) {
            row.add_settings(settings, problems);
        }
    }
    return settings;
}
