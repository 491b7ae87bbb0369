// The main configuration library of the recording platform.
#include <map>
#include <memory>
#include <string>

#include "platform/main_configuration.h"
#include "tests/support/recorded_calls.h"
#include "tests/support/recording_platform.h"

using recording_platform::record_call;
using recording_platform::record_misuse;
using recording_platform::script;
using recording_platform::words;

struct ConfigSettings {
    std::string text;
};

namespace {

std::map<const ConfigSettings*, std::unique_ptr<ConfigSettings>> live_settings;

}  // namespace

bool recording_platform::has_live_settings() {
    return !live_settings.empty();
}

void recording_platform::forget_live_settings() {
    live_settings.clear();
}

extern const int QRConfZMStandardServer = 51;

int ZM_read_master_config() {
    record_call("ZM_read_master_config");
    return script.configuration_unreadable;
}

const ConfigRecord* get_master_config_ptr() {
    static ConfigRecord configuration;
    int& verbosity = configuration.VERBOSE;
    verbosity = script.global_verbosity;
    if (!script.next_global_verbosities.empty()) {
        verbosity = script.next_global_verbosities.front();
        script.next_global_verbosities.pop_front();
    }
    return &configuration;
}

int ParseConfigExA(char* text, ConfigRecord* record, ConfigRecord* other, int option) {
    record_call(words("ParseConfigExA", text, other == nullptr || other == record ? "no other record" : "other record",
                      option));
    if (record->VERBOSE != 0 || record->settings != nullptr) {
        record_misuse("a record was not filled with zeros");
    }
    if (script.settings_refused != 0) {
        return script.settings_refused;
    }
    auto settings = std::make_unique<ConfigSettings>(ConfigSettings{text});
    record->settings = settings.get();
    live_settings[record->settings] = std::move(settings);
    return 0;
}

int UpdateHostConfigExA(int selector, ConfigRecord* record, ConfigRecord* other, int option1, int option2,
                        int option3) {
    record_call(words("UpdateHostConfigExA", selector == QRConfZMStandardServer ? "standard server" : "something else",
                      record->settings == nullptr ? "nothing" : record->settings->text,
                      other == nullptr || other == record ? "no other record" : "other record", option1, option2,
                      option3));
    return script.update_refused;
}

void FreeConfig(ConfigRecord* record) {
    record_call("FreeConfig");
    live_settings.erase(record->settings);
    *record = {};
}
