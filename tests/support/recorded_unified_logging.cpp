// The unified logging configuration library of the recording platform.
#include <map>
#include <memory>
#include <string>

#include "platform/unified_logging.h"
#include "tests/support/recorded_calls.h"
#include "tests/support/recording_platform.h"

using recording_platform::OriginatorLevels;
using recording_platform::record_call;
using recording_platform::script;
using recording_platform::words;

struct holkLogCfg {
    recording_platform::Originator originator;
};

namespace {

std::map<const holkLogCfg*, std::unique_ptr<holkLogCfg>> live_handles;

std::string name_of(const holkLogCfg* handle) {
    if (live_handles.count(handle) == 0) {
        recording_platform::record_misuse("a handle that is not alive was used");
        return "?";
    }
    return std::to_string(handle->originator.first) + " " + std::to_string(handle->originator.second);
}

OriginatorLevels levels_of(const holkLogCfg* handle) {
    const auto found = script.levels.find(handle->originator);
    return found == script.levels.end() ? OriginatorLevels{} : found->second;
}

}  // namespace

bool recording_platform::has_live_handles() {
    return !live_handles.empty();
}

void recording_platform::forget_live_handles() {
    live_handles.clear();
}

int holkLogReadCfg(long product, unsigned long originator, holkLogCfg** handle) {
    record_call(words("holkLogReadCfg", product, originator));
    if (script.unloadable_originators.count({product, originator}) != 0) {
        return 2;
    }
    auto configuration = std::make_unique<holkLogCfg>(holkLogCfg{{product, originator}});
    *handle = configuration.get();
    live_handles[*handle] = std::move(configuration);
    return 0;
}

int holkLogCfgGetDebugLevel(const holkLogCfg* handle, int* level) {
    record_call(words("holkLogCfgGetDebugLevel", name_of(handle)));
    *level = levels_of(handle).debug.value_or(*level);
    return 0;
}

int holkLogCfgGetDiagLevel(const holkLogCfg* handle, int* level) {
    record_call(words("holkLogCfgGetDiagLevel", name_of(handle)));
    *level = levels_of(handle).diagnostic.value_or(*level);
    return 0;
}

int holkLogCfgSetDebugLevel(holkLogCfg* handle, int level) {
    record_call(words("holkLogCfgSetDebugLevel", name_of(handle), level));
    return script.debug_level_not_set;
}

int holkLogCfgSetDiagLevel(holkLogCfg* handle, int level) {
    record_call(words("holkLogCfgSetDiagLevel", name_of(handle), level));
    return script.diagnostic_level_not_set;
}

int holkLogCfgRemoveSettings(holkLogCfg* handle, int mask) {
    record_call(words("holkLogCfgRemoveSettings", name_of(handle), mask));
    return script.settings_not_removed;
}

int holkLogWriteCfg(long product, unsigned long originator, const holkLogCfg* handle) {
    record_call(words("holkLogWriteCfg", product, originator, name_of(handle)));
    return script.levels_not_written;
}

void holkLogFreeCfg(holkLogCfg* handle) {
    if (handle == nullptr) {
        return;
    }
    record_call(words("holkLogFreeCfg", name_of(handle)));
    live_handles.erase(handle);
}
