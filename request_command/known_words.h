// The command words and categories of agents, with their arguments, for help, completions and suggestions. The command
// sends other words too.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include "agent/command_words.h"
#include "logging_config/settings.h"

// The arguments of a command word.
enum class Takes {
    settings,      // CATEGORY:VALUE[,VALUE...]
    directories,   // of the agent's host
    collection,    // options of the tool, and --collectdir
    command_line,  // of zmlogadm
    anything,      // of a tool, or ignored
};

struct KnownWord {
    std::string_view name;
    Takes takes;
    std::string_view summary;
};

inline constexpr std::array known_words = {
    KnownWord{command_word::enable_logging, Takes::settings, "raise the debug logging of components"},
    KnownWord{command_word::disable_logging, Takes::settings, "lower the debug logging of components"},
    KnownWord{command_word::reset_logging, Takes::settings, "reset the debug logging of components"},
    KnownWord{command_word::run_zmcplogs, Takes::collection, "collect logs into a new directory"},
    KnownWord{command_word::run_zmsu, Takes::collection, "run the support utility and list its packages"},
    KnownWord{command_word::calculate_log_size, Takes::collection, "report the size of a collection"},
    KnownWord{command_word::get_disk_space, Takes::directories, "report free and total space"},
    KnownWord{command_word::clean_up, Takes::directories, "remove earlier collection results"},
    KnownWord{command_word::run_zmlogadm, Takes::command_line, "run zmlogadm on the host of the agent"},
    KnownWord{command_word::fetch_file, Takes::anything, "do nothing and succeed"},
    KnownWord{command_word::zmsu, Takes::anything, "the support utility"},
    KnownWord{command_word::zmcplogs, Takes::anything, "the log copier"},
    KnownWord{command_word::ktlogcfg, Takes::anything, "the unified logging tool"},
    KnownWord{command_word::versioninfo, Takes::anything, "the version tool"},
};

// A category of the logging words.
struct KnownCategory {
    std::string_view name;
    std::string_view value;
    std::string_view summary;
};

inline constexpr std::array known_categories = {
    KnownCategory{category::zmktul, "originator[=level]", "debug level of an originator of the product 51216"},
    KnownCategory{category::qpktul, "originator[=level]", "debug level of an originator of the product 58330"},
    KnownCategory{category::searchktul, "originator[=level]", "debug level of an originator of the product 60385"},
    KnownCategory{category::zmlogdir, "name", "log directory of a component"},
    KnownCategory{category::mmlogdir, "name", "log directory of a component of the volume manager"},
    KnownCategory{category::qrconf, "key[=level]", "verbosity key of qr.conf"},
    KnownCategory{category::rk, "component[=value]", "logging of a deduplication component"},
    KnownCategory{category::rkplugin, "rkplugin", "log level of the deduplication plug-in"},
    KnownCategory{category::kob, "kob=level", "debug level of the connection broker"},
    KnownCategory{category::corvid, "name[=level]", "log level of cloud storage"},
    KnownCategory{category::cloud, "name[=level]", "log level of the cloud storage plug-in"},
    KnownCategory{category::javagui, "name[=mask]", "debug switches of the administration console"},
    KnownCategory{category::holkaz, "name[=level]", "debug level of the authorization service"},
    KnownCategory{category::vmconf, "name", "verbosity of the volume manager"},
};

// Returns the row of the name, or null.
template <typename Rows>
constexpr const typename Rows::value_type* find_row(const Rows& rows, std::string_view name) {
    for (const auto& row : rows) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

// Returns whether the table has one row for each name and no other rows.
template <typename Rows, typename... Names>
constexpr bool describes(const Rows& rows, const Names&... names) {
    const auto has_one_row = [&rows](std::string_view name) {
        return std::count_if(rows.begin(), rows.end(), [&](const auto& row) { return row.name == name; }) == 1;
    };
    return rows.size() == (names.size() + ...) && (std::all_of(names.begin(), names.end(), has_one_row) && ...);
}
static_assert(describes(known_words, command_word::built_in, command_word::external), "a word has no row, or two");
static_assert(describes(known_categories, category::all), "a category has no row, or two");

template <typename Words>
constexpr bool is_one_of(std::string_view word, const Words& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

constexpr bool takes(std::string_view word, Takes arguments) {
    const KnownWord* const row = find_row(known_words, word);
    return row != nullptr && row->takes == arguments;
}

// Returns whether the word runs a tool whose output is the whole answer.
constexpr bool is_tool_word(std::string_view word) {
    return is_one_of(word, command_word::external);
}

// Returns whether only the agent itself reads the arguments of the word. Without one there is nothing to do.
constexpr bool is_agents_own(std::string_view word) {
    return takes(word, Takes::settings) || takes(word, Takes::directories);
}
