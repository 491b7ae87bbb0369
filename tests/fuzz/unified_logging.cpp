// The unified logging store: reading levels, and changing them.
//
// Input: two bytes for the changes of the debug and the diagnostic level, the number of the originator and a zero byte,
// then the store file.
#include "platform/unified_logging.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>

#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/scratch_file.h"
#include "tests/support/test_files.h"

namespace {

using Number = std::optional<int>;

constexpr long product = 51216;
constexpr unsigned long default_originator = 112;
constexpr const char* file = "/usr/kumel/ktul/51216.conf";
constexpr int no_level = 1'234'567;

struct Release {
    void operator()(holkLogCfg* handle) const { holkLogFreeCfg(handle); }
};
using Handle = std::unique_ptr<holkLogCfg, Release>;

struct Kind {
    const char* name;
    int mask;
    int (*get)(const holkLogCfg* handle, int* level);
    int (*set)(holkLogCfg* handle, int level);
};

constexpr std::array kinds = {
    Kind{"DebugLevel", holk_debug_level_setting, holkLogCfgGetDebugLevel, holkLogCfgSetDebugLevel},
    Kind{"DiagnosticLevel", holk_diagnostic_level_setting, holkLogCfgGetDiagLevel, holkLogCfgSetDiagLevel},
};

std::string prefix_of(unsigned long originator, const Kind& kind) {
    return std::to_string(originator) + "." + kind.name + "=";
}

Number number_in(const std::string& text) {
    const std::size_t first_digit = text.starts_with('-') ? 1 : 0;
    if (text.size() == first_digit || text.find_first_not_of("0123456789", first_digit) != std::string::npos) {
        return std::nullopt;
    }
    errno = 0;
    const long number = strtol(text.c_str(), nullptr, 10);
    const bool fits = errno == 0 && number == static_cast<int>(number);
    return fits ? Number(static_cast<int>(number)) : std::nullopt;
}

// The numbers of all entries of an originator.
std::vector<Number> entries_of(unsigned long originator, const Kind& kind, const std::string& text) {
    const std::string prefix = prefix_of(originator, kind);
    std::vector<Number> entries;
    for (const std::string& line : fuzzing::lines_of(text)) {
        if (line.starts_with(prefix)) {
            entries.push_back(number_in(line.substr(prefix.size())));
        }
    }
    return entries;
}

bool is_readable(unsigned long originator, const std::string& text) {
    return std::all_of(kinds.begin(), kinds.end(), [&](const Kind& kind) {
        const std::vector<Number> entries = entries_of(originator, kind, text);
        return std::all_of(entries.begin(), entries.end(), [](const Number& entry) { return entry.has_value(); });
    });
}

int effective_level(unsigned long originator, const Kind& kind, const std::string& text) {
    for (const unsigned long number : {originator, default_originator}) {
        const std::vector<Number> entries = entries_of(number, kind, text);
        if (!entries.empty() && entries[0]) {
            return *entries[0];
        }
    }
    return no_level;
}

int level_in(const Handle& handle, const Kind& kind) {
    int level = no_level;
    INVARIANT(kind.get(handle.get(), &level) == 0);
    return level;
}

Handle read(unsigned long originator, const std::string& text) {
    holkLogCfg* handle = nullptr;
    const int result = holkLogReadCfg(product, originator, &handle);
    INVARIANT((result == 0) == is_readable(originator, text));
    INVARIANT((result == 0) == (handle != nullptr));
    return Handle(handle);
}

void check_levels(const Handle& handle, unsigned long originator, const std::string& text) {
    for (const Kind& kind : kinds) {
        INVARIANT(level_in(handle, kind) == effective_level(originator, kind, text));
    }
}

enum class Change { none, removed, set };

// 0 keeps the level, 1 removes it, and other numbers set it: 10 to 16 to a valid level, all others to an invalid one.
Change change_level(const Handle& handle, const Kind& kind, unsigned choice) {
    if (choice == 0) {
        return Change::none;
    }
    if (choice == 1) {
        INVARIANT(holkLogCfgRemoveSettings(handle.get(), kind.mask) == 0);
        return Change::removed;
    }
    const int level = static_cast<int>(choice) - 10;
    const bool exists = level >= 0 && level <= 6;
    INVARIANT(kind.set(handle.get(), level) == (exists ? 0 : EINVAL));
    INVARIANT(!exists || level_in(handle, kind) == level);
    return exists ? Change::set : Change::none;
}

void check_change(Change change, const Kind& kind, unsigned choice, unsigned long originator,
                  const std::string& after) {
    const std::vector<Number> entries = entries_of(originator, kind, after);
    INVARIANT(change != Change::removed || entries.empty());
    INVARIANT(change != Change::set || (entries.size() == 1 && entries[0] == Number(static_cast<int>(choice) - 10)));
}

void check(unsigned long originator, const std::array<unsigned, 2>& choices, const std::string& before) {
    const Handle handle = read(originator, before);
    if (!handle) {
        return;
    }
    check_levels(handle, originator, before);
    std::array<Change, 2> changes{};
    for (std::size_t i = 0; i != kinds.size(); ++i) {
        changes[i] = change_level(handle, kinds[i], choices[i]);
    }
    INVARIANT(holkLogWriteCfg(product, originator, handle.get()) == 0);
    const std::string after = fuzzing::load(file);
    INVARIANT(after == before || fuzzing::ends_in_newline(after));
    for (std::size_t i = 0; i != kinds.size(); ++i) {
        check_change(changes[i], kinds[i], choices[i], originator, after);
    }
    const auto is_changed = [&](const std::string& line) {
        return (changes[0] != Change::none && line.starts_with(prefix_of(originator, kinds[0]))) ||
               (changes[1] != Change::none && line.starts_with(prefix_of(originator, kinds[1])));
    };
    INVARIANT(fuzzing::lines_without(after, is_changed) == fuzzing::lines_without(before, is_changed));
    check_levels(read(originator, after), originator, after);
    // Once more changes nothing.
    INVARIANT(holkLogWriteCfg(product, originator, handle.get()) == 0);
    INVARIANT(fuzzing::load(file) == after);
}

void make_folder_once() {
    static const bool done = (make_folder("/usr/kumel/ktul"), true);
    INVARIANT(done);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    make_folder_once();
    FuzzInput input(data, size);
    const std::array<unsigned, 2> choices = {input.choice(), input.choice()};
    const unsigned long originator = strtoul(input.text().c_str(), nullptr, 10);
    const std::string text = input.rest();
    fuzzing::store(file, text);
    check(originator, choices, text);
    return 0;
}
