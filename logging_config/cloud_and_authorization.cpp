#include "logging_config/cloud_and_authorization.h"

#include "agent/string_utilities.h"
#include "logging_config/config_file_entry.h"
#include "logging_config/settings.h"

namespace {

// Where a component keeps its log level, and the default level.
struct LevelEntry {
    setting::KeyValue place;
    const char* default_level;
};

constexpr LevelEntry storage_server = {setting::storage_server, "5"};
constexpr LevelEntry recovery_server = {setting::recovery_server, "5"};
constexpr LevelEntry store_container = {setting::store_container, "5"};
// The default level includes quotation marks. A level of the peer is written as sent.
constexpr LevelEntry authorization = {setting::authorization, "\"6\""};

int set_level(const std::string& category, const std::string& value, Responses& responses, const LevelEntry& entry) {
    return process_config_file_entry(category, value, responses, entry.place.file, entry.place.key,
                                     entry.place.separator, entry.default_level);
}

int set_levels(const std::string& category, const Values& values, Responses& responses, const LevelEntry& entry) {
    int result = 0;
    for (const std::string& value : values) {
        result |= set_level(category, value, responses, entry);
    }
    return result;
}

}  // namespace

int process_corvid(std::string category, const Values& values, Responses& responses) {
    int result = 0;
    for (const std::string& value : values) {
        std::string name;
        std::string ignored_level;
        split_lhs_rhs(value, name, ignored_level);
        // Unknown names are not rejected: they select the recovery server.
        result |= set_level(category, value, responses,
                            name == setting::storage_server_name ? storage_server : recovery_server);
    }
    return result;
}

int process_cloud(std::string category, const Values& values, Responses& responses) {
    return set_levels(category, values, responses, store_container);
}

int process_holkaz(std::string category, const Values& values, Responses& responses) {
    return set_levels(category, values, responses, authorization);
}
