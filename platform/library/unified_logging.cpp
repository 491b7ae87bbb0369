#include "platform/unified_logging.h"

#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/library/line_edits.h"
#include "platform/library/numbers.h"
#include "platform/library/safe_rewrite.h"
#include "platform/library/statuses.h"
#include "platform/library/text_file.h"
#include "platform/product_files.h"

namespace {

using platform_library::LineEdit;

// The originator whose entries are the defaults of its product.
constexpr unsigned long default_originator = 112;
constexpr int highest_level = 6;

// The kinds of levels, in the order in which new entries are added to a store file.
enum Kind : std::size_t { debug, diagnostic, kinds };
constexpr std::array<const char*, kinds> kind_names = {product_files::debug_level, product_files::diagnostic_level};

// Returns the start of an entry's line.
std::string entry_prefix(unsigned long originator, Kind kind) {
    return std::to_string(originator) + "." + kind_names[kind] + "=";
}

struct Level {
    std::optional<int> own;
    std::optional<int> default_of_product;
    // The change made through the handle, if any.
    std::optional<LineEdit> change;
};

// Sets `level` to the first entry with the prefix. Returns whether all entries with it are numbers.
bool read_entries(const std::string& text, const std::string& prefix, std::optional<int>& level) {
    bool all_valid = true;
    bool found = false;
    platform_library::for_each_line(text, [&](std::string_view line) {
        if (line.starts_with(prefix)) {
            const std::optional<int> number = platform_library::parse_int32(line.substr(prefix.size()));
            all_valid = all_valid && number.has_value();
            level = found ? level : number;
            found = true;
        }
    });
    return all_valid;
}

void store_effective(const Level& level, int* out) {
    if (level.own) {
        *out = *level.own;
    } else if (level.default_of_product) {
        *out = *level.default_of_product;
    }
}

}  // namespace

struct holkLogCfg {
    unsigned long originator = 0;
    std::array<Level, kinds> levels;
};

namespace {

int set_level(holkLogCfg* handle, Kind kind, int level) {
    if (level < 0 || level > highest_level) {
        return EINVAL;
    }
    handle->levels[kind].own = level;
    handle->levels[kind].change = entry_prefix(handle->originator, kind) + std::to_string(level);
    return 0;
}

}  // namespace

int holkLogReadCfg(long product, unsigned long originator, holkLogCfg** handle) {
    std::string text;
    if (platform_library::read_text_file(product_files::logging_store(product), text) != 0) {
        return platform_library::status::logging_store_not_read;
    }
    auto configuration = std::make_unique<holkLogCfg>();
    configuration->originator = originator;
    for (const Kind kind : {debug, diagnostic}) {
        Level& level = configuration->levels[kind];
        if (!read_entries(text, entry_prefix(originator, kind), level.own)) {
            return platform_library::status::logging_level_not_valid;
        }
        // A default that is not a number is ignored.
        read_entries(text, entry_prefix(default_originator, kind), level.default_of_product);
    }
    *handle = configuration.release();
    return 0;
}

int holkLogCfgGetDebugLevel(const holkLogCfg* handle, int* level) {
    store_effective(handle->levels[debug], level);
    return 0;
}

int holkLogCfgGetDiagLevel(const holkLogCfg* handle, int* level) {
    store_effective(handle->levels[diagnostic], level);
    return 0;
}

int holkLogCfgSetDebugLevel(holkLogCfg* handle, int level) {
    return set_level(handle, debug, level);
}

int holkLogCfgSetDiagLevel(holkLogCfg* handle, int level) {
    return set_level(handle, diagnostic, level);
}

int holkLogCfgRemoveSettings(holkLogCfg* handle, int mask) {
    for (const auto& [bit, kind] :
         {std::pair(holk_debug_level_setting, debug), std::pair(holk_diagnostic_level_setting, diagnostic)}) {
        if ((mask & bit) != 0) {
            handle->levels[kind].own.reset();
            handle->levels[kind].change.emplace(std::nullopt);
        }
    }
    return 0;
}

int holkLogWriteCfg(long product, unsigned long originator, const holkLogCfg* handle) {
    std::vector<LineEdit> edits;
    std::vector<std::string> prefixes;
    for (const Kind kind : {debug, diagnostic}) {
        if (const std::optional<LineEdit>& change = handle->levels[kind].change) {
            edits.push_back(*change);
            prefixes.push_back(entry_prefix(originator, kind));
        }
    }
    if (edits.empty()) {
        return 0;
    }
    const auto find_edit = [&](std::string_view line) -> std::optional<std::size_t> {
        for (std::size_t i = 0; i < prefixes.size(); ++i) {
            if (line.starts_with(prefixes[i])) {
                return i;
            }
        }
        return std::nullopt;
    };
    return platform_library::rewrite_file(product_files::logging_store(product), [&](const std::string& text) {
        return platform_library::apply_line_edits(text, edits, find_edit);
    });
}

void holkLogFreeCfg(holkLogCfg* handle) {
    const std::unique_ptr<holkLogCfg> released(handle);
}
