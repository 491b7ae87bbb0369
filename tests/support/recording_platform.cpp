#include "tests/support/recording_platform.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <ostream>
#include <sstream>

#include "platform/main_configuration.h"
#include "platform/network.h"
#include "platform/runtime.h"
#include "platform/unified_logging.h"
#include "tests/support/call_journal.h"

using call_journal::Kind;

struct ConfigSettings {
    std::string text;
};

struct holkLogCfg {
    recording_platform::Originator originator;
};

namespace recording_platform {

Script script;

namespace {

std::string last_status_text;
ConfigRecord master_configuration;
std::map<const holkLogCfg*, std::unique_ptr<holkLogCfg>> live_handles;
std::map<const ConfigSettings*, std::unique_ptr<ConfigSettings>> live_settings;

void record_call(const std::string& call) {
    call_journal::append(Kind::call, {call});
}

void record_misuse(const std::string& misuse) {
    call_journal::append(Kind::misuse, {misuse});
}

template <typename... Parts>
std::string words(const std::string& name, const Parts&... parts) {
    std::ostringstream text;
    text << name;
    ((text << ' ' << parts), ...);
    return text.str();
}

std::string name_of(const holkLogCfg* handle) {
    if (live_handles.count(handle) == 0) {
        record_misuse("a handle that is not alive was used");
        return "?";
    }
    return std::to_string(handle->originator.first) + " " + std::to_string(handle->originator.second);
}

OriginatorLevels levels_of(const holkLogCfg* handle) {
    const auto found = script.levels.find(handle->originator);
    return found == script.levels.end() ? OriginatorLevels{} : found->second;
}

FramedRead next_read() {
    if (script.framed_reads.empty()) {
        record_misuse("more was read than the script holds");
        return framed_failure(-1, ECONNRESET);
    }
    FramedRead read = script.framed_reads.front();
    script.framed_reads.pop_front();
    return read;
}

void store_error(const FramedRead& read, int* error) {
    if (read.error_number != 0) {
        *error = read.error_number;
    }
}

std::vector<LogLine> lines_of(const std::function<bool(const LoggedMessage&)>& wanted) {
    std::vector<LogLine> lines;
    for (const LoggedMessage& message : messages_in_full()) {
        if (wanted(message)) {
            lines.push_back(message.line);
        }
    }
    return lines;
}

std::vector<std::string> first_fields(Kind kind) {
    std::vector<std::string> found;
    for (const call_journal::Entry& entry : call_journal::entries()) {
        if (entry.kind == kind) {
            found.push_back(entry.fields.at(0));
        }
    }
    return found;
}

bool is_child(const LoggedMessage& message) {
    return message.process != getpid();
}

}  // namespace

void PrintTo(const LogLine& line, std::ostream* out) {
    *out << "<" << line.level << "> " << line.tag << ": " << line.text;
}

FramedRead framed_number(long long number) {
    return {.number = number, .text = "", .result = 1, .error_number = 0};
}

FramedRead framed_text(const std::string& text) {
    return {.number = 0, .text = text, .result = 1, .error_number = 0};
}

FramedRead framed_failure(int result, int error_number) {
    return {.number = result, .text = "", .result = result, .error_number = error_number};
}

void reset() {
    script = Script();
    live_handles.clear();
    live_settings.clear();
    call_journal::clear();
}

std::vector<LoggedMessage> messages_in_full() {
    std::vector<LoggedMessage> found;
    for (const call_journal::Entry& entry : call_journal::entries()) {
        if (entry.kind != Kind::message) {
            continue;
        }
        LoggedMessage message{.line = {std::stoi(entry.fields.at(0)), entry.fields.at(1), entry.fields.at(2)},
                              .format = entry.fields.at(3),
                              .numbers = {},
                              .process = entry.process};
        for (std::size_t i = 4; i < entry.fields.size(); ++i) {
            message.numbers.push_back(std::stoi(entry.fields[i]));
        }
        found.push_back(std::move(message));
    }
    return found;
}

std::vector<LogLine> messages() {
    return lines_of([](const LoggedMessage& message) { return !is_child(message); });
}

std::vector<LogLine> child_messages() {
    return lines_of(is_child);
}

std::vector<LogLine> messages_under(const std::string& tag) {
    return lines_of([&](const LoggedMessage& message) { return !is_child(message) && message.line.tag == tag; });
}

std::vector<LogLine> child_messages_under(const std::string& tag) {
    return lines_of([&](const LoggedMessage& message) { return is_child(message) && message.line.tag == tag; });
}

std::vector<std::string> calls() {
    return first_fields(Kind::call);
}

std::vector<std::string> calls_of(const std::string& beginning) {
    std::vector<std::string> found;
    for (const std::string& call : calls()) {
        if (call.starts_with(beginning)) {
            found.push_back(call);
        }
    }
    return found;
}

std::vector<std::string> misuses() {
    std::vector<std::string> found = first_fields(Kind::misuse);
    if (!live_handles.empty()) {
        found.emplace_back("a handle was not released");
    }
    if (!live_settings.empty()) {
        found.emplace_back("a configuration record was not released");
    }
    return found;
}

}  // namespace recording_platform

using recording_platform::script;
using recording_platform::words;

// The runtime library.

int open_debug_log(const char* root, const char* program, const char* name, int mode, int* out) {
    recording_platform::record_call(words("open_debug_log", root, program, name, mode, *out));
    return script.debug_log_descriptor;
}

void logmsgf(int level, const char* tag, const char* format, ...) {
    const int error = errno;
    va_list arguments;
    va_start(arguments, format);
    va_list numbers;
    va_copy(numbers, arguments);
    const int length = vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(static_cast<std::size_t>(std::max(length, 0)) + 1, '\0');
    va_start(arguments, format);
    vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    text.pop_back();
    const std::string shown_tag = tag == nullptr ? "" : tag;
    std::vector<std::string> fields = {std::to_string(level), shown_tag, text, format};
    if (shown_tag.find('%') != std::string::npos) {
        fields.push_back(std::to_string(va_arg(numbers, int)));
        fields.push_back(std::to_string(va_arg(numbers, int)));
    }
    va_end(numbers);
    call_journal::append(Kind::message, fields);
    errno = error;
}

const char* getECmsg(int status) {
    const auto found = script.status_texts.find(status);
    recording_platform::last_status_text =
        found == script.status_texts.end() ? "text of " + std::to_string(status) : found->second;
    return recording_platform::last_status_text.c_str();
}

short getDirCreationMode(const char* name) {
    recording_platform::record_call(words("getDirCreationMode", name));
    return script.directory_creation_mode;
}

int mklogdirpath(const char* path, int mode, int* error) {
    recording_platform::record_call(words("mklogdirpath", path, mode, *error));
    *error = script.log_directory_error;
    if (script.log_directory_error_number != 0) {
        errno = script.log_directory_error_number;
    }
    return script.log_directory_result;
}

std::string temporary_name(const std::string& directory, const std::string& prefix) {
    recording_platform::record_call(words("temporary_name", directory, prefix));
    return directory + "/" + prefix + script.temporary_suffix;
}

// The network library.

int xnet_verify_peer_creds(int socket, std::uint32_t service_tag, int flag, std::uint32_t* flags,
                           std::uint32_t* user_type, void* reserved, int timeout) {
    recording_platform::record_call(words("xnet_verify_peer_creds", socket, service_tag, flag, *flags, *user_type,
                                          reserved == nullptr ? "null" : "not null", timeout));
    if (script.during_verification) {
        script.during_verification();
    }
    if (script.verification_fails != 0) {
        return script.verification_fails;
    }
    *flags = script.peer_flags;
    *user_type = script.user_type;
    return 0;
}

int xnet_get_max_timeout() {
    recording_platform::record_call("xnet_get_max_timeout");
    return script.network_timeout++;
}

long get_long(int socket, int timeout, int* error) {
    recording_platform::record_call(words("get_long", socket, timeout, *error));
    const recording_platform::FramedRead read = recording_platform::next_read();
    recording_platform::store_error(read, error);
    return static_cast<long>(read.number);
}

int get_string(int socket, char* buffer, int max_length, int timeout, int* error) {
    recording_platform::record_call(
        words("get_string", socket, buffer[0] == '\0' ? "cleared" : "not cleared", max_length, timeout));
    const recording_platform::FramedRead read = recording_platform::next_read();
    recording_platform::store_error(read, error);
    if (read.result > 0) {
        snprintf(buffer, static_cast<std::size_t>(max_length) + 1, "%s", read.text.c_str());
    }
    return read.result;
}

// The main configuration library.

extern const int QRConfZMStandardServer = 51;

int ZM_read_master_config() {
    recording_platform::record_call("ZM_read_master_config");
    return script.configuration_unreadable;
}

const ConfigRecord* get_master_config_ptr() {
    int& verbosity = recording_platform::master_configuration.VERBOSE;
    verbosity = script.global_verbosity;
    if (!script.next_global_verbosities.empty()) {
        verbosity = script.next_global_verbosities.front();
        script.next_global_verbosities.pop_front();
    }
    return &recording_platform::master_configuration;
}

int ParseConfigExA(char* text, ConfigRecord* record, ConfigRecord* other, int option) {
    recording_platform::record_call(words(
        "ParseConfigExA", text, other == nullptr || other == record ? "no other record" : "other record", option));
    if (record->VERBOSE != 0 || record->settings != nullptr) {
        recording_platform::record_misuse("a record was not filled with zeros");
    }
    if (script.settings_refused != 0) {
        return script.settings_refused;
    }
    auto settings = std::make_unique<ConfigSettings>(ConfigSettings{text});
    record->settings = settings.get();
    recording_platform::live_settings[record->settings] = std::move(settings);
    return 0;
}

int UpdateHostConfigExA(int selector, ConfigRecord* record, ConfigRecord* other, int option1, int option2,
                        int option3) {
    recording_platform::record_call(
        words("UpdateHostConfigExA", selector == QRConfZMStandardServer ? "standard server" : "something else",
              record->settings == nullptr ? "nothing" : record->settings->text,
              other == nullptr || other == record ? "no other record" : "other record", option1, option2, option3));
    return script.update_refused;
}

void FreeConfig(ConfigRecord* record) {
    recording_platform::record_call("FreeConfig");
    recording_platform::live_settings.erase(record->settings);
    *record = {};
}

// The unified logging configuration library.

int holkLogReadCfg(long product, unsigned long originator, holkLogCfg** handle) {
    recording_platform::record_call(words("holkLogReadCfg", product, originator));
    if (script.unloadable_originators.count({product, originator}) != 0) {
        return 2;
    }
    auto configuration = std::make_unique<holkLogCfg>(holkLogCfg{{product, originator}});
    *handle = configuration.get();
    recording_platform::live_handles[*handle] = std::move(configuration);
    return 0;
}

int holkLogCfgGetDebugLevel(const holkLogCfg* handle, int* level) {
    recording_platform::record_call(words("holkLogCfgGetDebugLevel", recording_platform::name_of(handle)));
    *level = recording_platform::levels_of(handle).debug.value_or(*level);
    return 0;
}

int holkLogCfgGetDiagLevel(const holkLogCfg* handle, int* level) {
    recording_platform::record_call(words("holkLogCfgGetDiagLevel", recording_platform::name_of(handle)));
    *level = recording_platform::levels_of(handle).diagnostic.value_or(*level);
    return 0;
}

int holkLogCfgSetDebugLevel(holkLogCfg* handle, int level) {
    recording_platform::record_call(words("holkLogCfgSetDebugLevel", recording_platform::name_of(handle), level));
    return script.debug_level_not_set;
}

int holkLogCfgSetDiagLevel(holkLogCfg* handle, int level) {
    recording_platform::record_call(words("holkLogCfgSetDiagLevel", recording_platform::name_of(handle), level));
    return script.diagnostic_level_not_set;
}

int holkLogCfgRemoveSettings(holkLogCfg* handle, int mask) {
    recording_platform::record_call(words("holkLogCfgRemoveSettings", recording_platform::name_of(handle), mask));
    return script.settings_not_removed;
}

int holkLogWriteCfg(long product, unsigned long originator, const holkLogCfg* handle) {
    recording_platform::record_call(words("holkLogWriteCfg", product, originator, recording_platform::name_of(handle)));
    return script.levels_not_written;
}

void holkLogFreeCfg(holkLogCfg* handle) {
    if (handle == nullptr) {
        return;
    }
    recording_platform::record_call(words("holkLogFreeCfg", recording_platform::name_of(handle)));
    recording_platform::live_handles.erase(handle);
}
