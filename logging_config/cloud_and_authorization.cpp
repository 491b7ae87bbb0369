#include "logging_config/cloud_and_authorization.h"

#include "agent/string_utilities.h"
#include "logging_config/main_configuration_verbosity.h"

namespace {

// Where a component keeps its log level.
struct LevelEntry {
    const char* file;
    const char* key;
    const char* default_level;
};

constexpr LevelEntry storage_server = {"/usr/kumel/lib/stg-plugins/wqf.conf", "WQF:LOGLEVEL", "5"};
constexpr LevelEntry recovery_server = {"/usr/kumel/lib/stg-plugins/hlt.conf", "HLT:LOGLEVEL", "5"};
constexpr LevelEntry store_container = {"/usr/kumel/lib/stg-plugins/skyhold.conf", "SHCT_LOG_LEVEL", "5"};
// Key and default stand in the file with their quotation marks; a peer's own level is written as it was sent.
constexpr LevelEntry authorization = {"/usr/kumel/zembrath/sec/az/bin/HOLKaz.conf", "\"DebugLevel\"", "\"6\""};

int set_level(const std::string& category, const std::string& value, Responses& responses, const LevelEntry& entry) {
    return process_config_file_entry(category, value, responses, entry.file, entry.key, "=", entry.default_level);
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
        // Unknown names are not rejected: they are the recovery server's.
        result |= set_level(category, value, responses, name == "zmwqf" ? storage_server : recovery_server);
    }
    return result;
}

int process_cloud(std::string category, const Values& values, Responses& responses) {
    return set_levels(category, values, responses, store_container);
}

int process_holkaz(std::string category, const Values& values, Responses& responses) {
    return set_levels(category, values, responses, authorization);
}
