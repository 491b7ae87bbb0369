// The main configuration: reading it, parsing changes, and applying them.
//
// Input: the changes, a zero byte, the file.
#include "platform/main_configuration.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <optional>

#include "platform/library/configuration.h"
#include "platform/library/numbers.h"
#include "platform/product_files.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/scratch_file.h"
#include "tests/support/test_files.h"

namespace {

using fuzzing::lines_of;
using platform_library::fold_key;
using platform_library::parse_configuration_line;
using product_files::main_configuration;

// The requested changes by key, in upper case: a value, or nothing to remove the key.
using Changes = std::map<std::string, std::optional<std::string>>;

Changes changes_in(const std::string& text) {
    Changes changes;
    for (const std::string& line : lines_of(text)) {
        const std::size_t equals = line.find('=');
        const std::string key = fold_key(line.substr(0, equals));
        changes[key] = equals == std::string::npos ? std::nullopt : std::optional(line.substr(equals + 1));
    }
    return changes;
}

// Returns the key of a line in the form in which keys are compared, or an empty text for a line without a key.
std::string key_of(const std::string& line) {
    const auto entry = parse_configuration_line(line);
    return entry ? fold_key(entry->key) : "";
}

std::string without_blanks(const std::string& text) {
    constexpr const char* blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string> values_of(const std::string& key, const std::string& text) {
    std::vector<std::string> values;
    for (const std::string& line : lines_of(text)) {
        if (key_of(line) == key) {
            values.emplace_back(parse_configuration_line(line)->value);
        }
    }
    return values;
}

void check_values(const Changes& changes, const std::string& after) {
    for (const auto& [key, value] : changes) {
        const std::vector<std::string> found = values_of(key, after);
        INVARIANT(found.size() == (value ? 1U : 0U));
        INVARIANT(!value || found[0] == without_blanks(*value));
    }
}

void check_other_lines(const Changes& changes, const std::string& before, const std::string& after) {
    const auto is_changed = [&](const std::string& line) { return changes.count(key_of(line)) != 0; };
    INVARIANT(fuzzing::lines_without(after, is_changed) == fuzzing::lines_without(before, is_changed));
}

// Checks that the library reads the settings that the lines contain.
void check_reading(const std::string& text) {
    INVARIANT(ZM_read_master_config() == 0);
    INVARIANT(platform_library::host_configuration().servers == values_of("SERVER", text));
    const std::vector<std::string> verbosity = values_of("VERBOSE", text);
    const int expected = verbosity.empty() ? 0 : platform_library::parse_int32(verbosity[0]).value_or(0);
    INVARIANT(get_master_config_ptr()->VERBOSE == expected);
    const int timeout = platform_library::host_configuration().network_timeout;
    INVARIANT(timeout >= 1 && timeout <= 86400);
}

ino_t number_of_file() {
    struct stat state {};
    INVARIANT(stat(main_configuration, &state) == 0);
    return state.st_ino;
}

int apply(ConfigRecord& record) {
    return UpdateHostConfigExA(QRConfZMStandardServer, &record, nullptr, 0, 0, 0);
}

void check_update(ConfigRecord& record, const Changes& changes, const std::string& before) {
    INVARIANT(changes.count("SERVER") == 0);
    INVARIANT(apply(record) == 0);
    const std::string after = fuzzing::load(main_configuration);
    INVARIANT(after == before || fuzzing::ends_in_newline(after));
    check_other_lines(changes, before, after);
    check_values(changes, after);
    check_reading(after);
    // Once more changes nothing, and what changes nothing does not replace the file.
    const ino_t file = number_of_file();
    INVARIANT(apply(record) == 0);
    INVARIANT(number_of_file() == file);
}

void make_folder_once() {
    static const bool done = (make_folder("/usr/kumel/zembrath"), true);
    INVARIANT(done);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    make_folder_once();
    FuzzInput input(data, size);
    const std::string wanted = input.text();
    const std::string before = input.rest();
    fuzzing::store(main_configuration, before);
    check_reading(before);
    std::string text = wanted;
    ConfigRecord record{};
    const int parsed = ParseConfigExA(text.data(), &record, nullptr, 1);
    INVARIANT(text == wanted);
    INVARIANT((parsed == 0) == (record.settings != nullptr));
    if (parsed == 0) {
        check_update(record, changes_in(wanted), before);
    }
    FreeConfig(&record);
    INVARIANT(record.settings == nullptr);
    return 0;
}
